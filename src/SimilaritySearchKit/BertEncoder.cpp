#include "SimilaritySearchKit/BertEncoder.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "SimilaritySearchKit/BertKernels.h"
#include "SimilaritySearchKit/SafetensorsFile.h"

namespace folvane {
namespace {

const bertforward::Kernels* kernelsFor(BertKernel kernel) {
    switch (kernel) {
        case BertKernel::baseline:
            return bertforward::baseline();
        case BertKernel::avx2:
            return bertforward::avx2();
        case BertKernel::avx512:
            return bertforward::avx512();
    }
    return nullptr;
}

// Small whole numbers multiply and sum exactly, so a correct kernel gives the
// baseline's product bit for bit. A processor that claims a wide unit is
// trusted with it only after it computes this right: a virtual machine has
// been seen getting 256-bit sums wrong.
bool multipliesLikeBaseline(const bertforward::Kernels* kernels) {
    if (kernels == nullptr) return false;
    constexpr int rows = 13, inner = 37, columns = 5;
    std::vector<float> a(rows * inner), b(inner * columns);
    std::vector<float> want(rows * columns), got(rows * columns, -1.0f);
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = float(int(i % 7) - 3);
    for (std::size_t i = 0; i < b.size(); ++i) b[i] = float(int(i % 5) - 2);
    bertforward::baseline()->multiply(a.data(), b.data(), want.data(), rows, inner, columns);
    kernels->multiply(a.data(), b.data(), got.data(), rows, inner, columns);
    return got == want;
}

bool processorRuns(BertKernel kernel) {
    switch (kernel) {
        case BertKernel::baseline:
            return true;
        case BertKernel::avx2: {
#if defined(__x86_64__)
            static const bool runs = __builtin_cpu_supports("avx2") &&
                                     __builtin_cpu_supports("fma") &&
                                     multipliesLikeBaseline(bertforward::avx2());
            return runs;
#else
            return false;
#endif
        }
        case BertKernel::avx512: {
#if defined(__x86_64__)
            static const bool runs =
                __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw") &&
                __builtin_cpu_supports("fma") && multipliesLikeBaseline(bertforward::avx512());
            return runs;
#else
            return false;
#endif
        }
    }
    return false;
}

std::shared_ptr<const BertWeights> checked(std::shared_ptr<const BertWeights> weights) {
    if (!weights) throw std::invalid_argument("BERT encoder: no weights");
    weights->checkShapes();
    return weights;
}

}  // namespace

const char* bertKernelName(BertKernel kernel) {
    switch (kernel) {
        case BertKernel::baseline:
            return "baseline";
        case BertKernel::avx2:
            return "avx2";
        case BertKernel::avx512:
            return "avx512";
    }
    return "?";
}

std::vector<BertKernel> BertEncoder::availableKernels() {
    std::vector<BertKernel> kernels;
    for (const BertKernel kernel : {BertKernel::baseline, BertKernel::avx2, BertKernel::avx512}) {
        if (kernelsFor(kernel) != nullptr && processorRuns(kernel)) kernels.push_back(kernel);
    }
    return kernels;
}

BertEncoder::BertEncoder(const std::filesystem::path& weightsFile)
    : BertEncoder(std::make_shared<const BertWeights>(
          BertWeights::fromFile(SafetensorsFile(weightsFile)))) {}

BertEncoder::BertEncoder(std::shared_ptr<const BertWeights> weights)
    : BertEncoder(std::move(weights), availableKernels().back()) {}

BertEncoder::BertEncoder(std::shared_ptr<const BertWeights> weights, BertKernel kernel)
    : weights_(checked(std::move(weights))), kernel_(kernel) {
    const bertforward::Kernels* kernels = kernelsFor(kernel);
    if (kernels == nullptr || !processorRuns(kernel))
        throw std::invalid_argument(std::string("BERT encoder: this processor cannot run the ") +
                                    bertKernelName(kernel) + " kernel");
    forward_ = kernels->forward;
}

int BertEncoder::inputLength(std::span<const int32_t> ids, std::span<const int32_t> mask) const {
    if (ids.size() != mask.size())
        throw std::invalid_argument("BERT encoder: the ids and the mask differ in length");
    std::size_t length = mask.size();
    while (length > 0 && mask[length - 1] == 0) --length;
    if (length == 0) throw std::invalid_argument("BERT encoder: no position to encode");
    if (length > static_cast<std::size_t>(weights_->maxPositions))
        throw std::invalid_argument("BERT encoder: " + std::to_string(length) +
                                    " positions exceed the model's " +
                                    std::to_string(weights_->maxPositions));
    for (std::size_t i = 0; i < length; ++i) {
        if (ids[i] < 0 || ids[i] >= weights_->vocabularySize)
            throw std::invalid_argument("BERT encoder: the token id " + std::to_string(ids[i]) +
                                        " is outside the vocabulary");
    }
    return static_cast<int>(length);
}

std::vector<float> BertEncoder::firstTokenVector(std::span<const int32_t> ids,
                                                 std::span<const int32_t> mask) const {
    const int length = inputLength(ids, mask);
    std::vector<float> output(static_cast<std::size_t>(weights_->hiddenSize));
    forward_(*weights_, ids.data(), mask.data(), length, true, output.data());
    return output;
}

std::vector<float> BertEncoder::meanTokenVector(std::span<const int32_t> ids,
                                                std::span<const int32_t> mask) const {
    const int length = inputLength(ids, mask);
    const std::size_t hidden = static_cast<std::size_t>(weights_->hiddenSize);
    std::vector<float> outputs(hidden * static_cast<std::size_t>(length));
    forward_(*weights_, ids.data(), mask.data(), length, false, outputs.data());

    std::vector<double> sum(hidden, 0.0);
    int counted = 0;
    for (int position = 0; position < length; ++position) {
        if (mask[position] == 0) continue;
        ++counted;
        for (std::size_t i = 0; i < hidden; ++i) sum[i] += outputs[position * hidden + i];
    }
    std::vector<float> mean(hidden);
    for (std::size_t i = 0; i < hidden; ++i) mean[i] = static_cast<float>(sum[i] / counted);
    return mean;
}

}  // namespace folvane
