// The BERT encoder at the real size of msmarco-distilbert-base-tas-b (768
// hidden, 6 layers, 12 heads, feed-forward 3072, 512 positions), with random
// weights made here: milliseconds per 512-token chunk, two chunks at once on two
// threads as indexing runs them, and per 128-token query on one thread.
//
// The baseline, measured in the same run, is the rate of the matrix product the
// encoder is built on (a [768, 768] weight times [768, 512] activations, the
// shape of its linear layers), compiled with the same instruction set and run
// on one thread. The encoder's achieved GFLOP/s per thread is printed as a
// ratio of it; the goal is at least 0.5. Rates and times are of CPU time, which
// a busy machine disturbs less than wall time.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "SimilaritySearchKit/BertEncoder.h"
#include "SimilaritySearchKit/BertKernels.h"

namespace {

using namespace folvane;

constexpr int vocabularySize = 30522;
constexpr int positions = 512;
constexpr int hidden = 768;
constexpr int heads = 12;
constexpr int ffn = 3072;
constexpr int layerCount = 6;

std::vector<float> randomValues(std::mt19937& random, std::size_t count, float spread) {
    std::uniform_real_distribution<float> value(-spread, spread);
    std::vector<float> values(count);
    for (float& v : values) v = value(random);
    return values;
}

std::shared_ptr<const BertWeights> makeWeights() {
    std::mt19937 random(7);
    auto weights = std::make_shared<BertWeights>();
    weights->vocabularySize = vocabularySize;
    weights->maxPositions = positions;
    weights->hiddenSize = hidden;
    weights->headCount = heads;
    weights->ffnSize = ffn;
    weights->wordEmbeddings = randomValues(random, std::size_t(vocabularySize) * hidden, 0.1f);
    weights->positionEmbeddings = randomValues(random, std::size_t(positions) * hidden, 0.1f);
    weights->embeddingNormWeight.assign(hidden, 1.0f);
    weights->embeddingNormBias.assign(hidden, 0.0f);
    const float spread = 0.06f;  // about 1.7 / sqrt(768): activations stay in range
    for (int i = 0; i < layerCount; ++i) {
        BertLayerWeights layer;
        layer.qkvWeight = randomValues(random, 3 * hidden * hidden, spread);
        layer.qkvBias = randomValues(random, 3 * hidden, 0.02f);
        layer.outWeight = randomValues(random, hidden * hidden, spread);
        layer.outBias = randomValues(random, hidden, 0.02f);
        layer.attentionNormWeight.assign(hidden, 1.0f);
        layer.attentionNormBias.assign(hidden, 0.0f);
        layer.ffnInWeight = randomValues(random, std::size_t(ffn) * hidden, spread);
        layer.ffnInBias = randomValues(random, ffn, 0.02f);
        layer.ffnOutWeight = randomValues(random, std::size_t(hidden) * ffn, spread / 2);
        layer.ffnOutBias = randomValues(random, hidden, 0.02f);
        layer.outputNormWeight.assign(hidden, 1.0f);
        layer.outputNormBias.assign(hidden, 0.0f);
        weights->layers.push_back(std::move(layer));
    }
    return weights;
}

const BertEncoder& encoder() {
    static const BertEncoder value(makeWeights());
    return value;
}

const bertforward::Kernels& kernels() {
    switch (encoder().kernel()) {
        case BertKernel::avx512:
            return *bertforward::avx512();
        case BertKernel::avx2:
            return *bertforward::avx2();
        case BertKernel::baseline:
            break;
    }
    return *bertforward::baseline();
}

// Floating-point operations of one encoding of `length` tokens that keeps only
// the [CLS] output: the last layer computes keys and values for every token
// and the rest for [CLS] alone. Products count two per multiply-add.
double encoderFlops(double length) {
    const double h = hidden, f = ffn;
    const double fullLayer = 2 * length * h * 3 * h         // query, key, value
                             + 2 * 2 * length * length * h  // scores and context
                             + 2 * length * h * h           // attention output
                             + 2 * 2 * length * h * f;      // feed-forward
    const double lastLayer =
        2 * length * h * 2 * h + 2 * h * h + 2 * 2 * length * h + 2 * h * h + 2 * 2 * h * f;
    return (layerCount - 1) * fullLayer + lastLayer;
}

std::vector<int32_t> tokenIds(int length) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int32_t> id(1000, vocabularySize - 1);
    std::vector<int32_t> ids(length);
    for (int32_t& value : ids) value = id(random);
    ids.front() = 101;
    ids.back() = 102;
    return ids;
}

void BM_EigenProduct(benchmark::State& state) {
    const int rows = hidden, inner = hidden, columns = positions;
    std::mt19937 random(3);
    const std::vector<float> a = randomValues(random, std::size_t(rows) * inner, 1.0f);
    const std::vector<float> b = randomValues(random, std::size_t(inner) * columns, 1.0f);
    std::vector<float> c(std::size_t(rows) * columns);
    for (auto _ : state) {
        kernels().multiply(a.data(), b.data(), c.data(), rows, inner, columns);
        benchmark::DoNotOptimize(c.data());
        benchmark::ClobberMemory();
    }
    state.counters["GFLOPs"] = benchmark::Counter(2.0 * rows * inner * columns * 1e-9,
                                                  benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_EigenProduct)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void BM_Encoder(benchmark::State& state) {
    const int length = static_cast<int>(state.range(0));
    const std::vector<int32_t> ids = tokenIds(length);
    const std::vector<int32_t> mask(ids.size(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(encoder().firstTokenVector(ids, mask));
    // Each thread's counter is summed and the rate taken over the CPU time of
    // all threads together, so averaging over the threads gives one thread's rate.
    state.counters["GFLOPs"] = benchmark::Counter(
        encoderFlops(length) * 1e-9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kAvgThreads);
}
BENCHMARK(BM_Encoder)
    ->Arg(512)
    ->Threads(1)
    ->Threads(2)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(3.0)
    ->Name("BM_Encoder/chunk");
BENCHMARK(BM_Encoder)
    ->Arg(128)
    ->Threads(1)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0)
    ->Name("BM_Encoder/query");

class RateReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            const auto rate = run.counters.find("GFLOPs");
            if (rate == run.counters.end() || run.iterations == 0) continue;
            Result& result =
                results[run.run_name.function_name + "/threads:" + std::to_string(run.threads)];
            result.gflops = rate->second.value;
            result.cpuMilliseconds = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    struct Result {
        double gflops = 0;
        double cpuMilliseconds = 0;  // per iteration of one thread
    };
    std::map<std::string, Result> results;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::printf("BERT encoder kernel: %s\n", bertKernelName(encoder().kernel()));
    RateReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const auto product = reporter.results.find("BM_EigenProduct/threads:1");
    if (product == reporter.results.end()) return 0;
    std::printf("\nEigen product [768x768]x[768x512], one thread: %.1f GFLOP/s\n",
                product->second.gflops);
    for (const char* name : {"BM_Encoder/chunk/threads:1", "BM_Encoder/chunk/threads:2",
                             "BM_Encoder/query/threads:1"}) {
        const auto found = reporter.results.find(name);
        if (found == reporter.results.end()) continue;
        std::printf(
            "%s: %.1f ms of CPU each, %.1f GFLOP/s per thread, "
            "%.2f of the product's rate (goal >= 0.50)\n",
            name, found->second.cpuMilliseconds, found->second.gflops,
            found->second.gflops / product->second.gflops);
    }
    return 0;
}
