#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "SimilaritySearchKit/BertWeights.h"

namespace folvane {

// The instruction sets the forward pass is built for.
enum class BertKernel { baseline, avx2, avx512 };
const char* bertKernelName(BertKernel kernel);

// A DistilBERT encoder: token ids and their attention mask in, the last
// layer's vectors out. It computes over the positions up to the last one whose
// mask is 1 and leaves trailing padding out, which changes nothing: masked keys
// take no part in attention and each position's output depends only on the
// keys. Immutable after construction, so one encoder serves several threads at
// once; each call allocates its own activations and runs on its caller's thread.
class BertEncoder {
  public:
    // Reads a safetensors file (see BertWeights::fromFile); throws
    // EmbeddingModelLoadError.
    explicit BertEncoder(const std::filesystem::path& weightsFile);
    // Weights built in code. Throws std::invalid_argument when their sizes
    // disagree with their dimensions, or when this processor cannot run `kernel`.
    explicit BertEncoder(std::shared_ptr<const BertWeights> weights);
    BertEncoder(std::shared_ptr<const BertWeights> weights, BertKernel kernel);

    // The kernels that this build and this processor can run, the widest last.
    static std::vector<BertKernel> availableKernels();

    const BertWeights& weights() const { return *weights_; }
    BertKernel kernel() const { return kernel_; }
    int hiddenSize() const { return weights_->hiddenSize; }

    // The output of the first position (the [CLS] token).
    std::vector<float> firstTokenVector(std::span<const int32_t> ids,
                                        std::span<const int32_t> mask) const;
    // The mean of the outputs of the positions whose mask is 1.
    std::vector<float> meanTokenVector(std::span<const int32_t> ids,
                                       std::span<const int32_t> mask) const;

  private:
    // Checks the input (std::invalid_argument) and gives the length to compute over.
    int inputLength(std::span<const int32_t> ids, std::span<const int32_t> mask) const;

    std::shared_ptr<const BertWeights> weights_;
    BertKernel kernel_;
    void (*forward_)(const BertWeights&, const int32_t*, const int32_t*, int, bool,
                     float*) = nullptr;
};

}  // namespace folvane
