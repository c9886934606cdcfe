// A cosine top-5 search over 100,000 stored vectors of 768 and of 1536 floats,
// against two references measured in the same run on the same vectors:
//   - the bare read of the vectors (a sum of every float), as bytes per second;
//   - a flat inner-product index of the FAISS library over the normalised
//     vectors, for one query.
// The index's search includes the query's encoding by a trivial embedder and
// the look-up of each hit by id; findNearest is the metric's scan alone.

#include <benchmark/benchmark.h>
#include <faiss/IndexFlat.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <random>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "support/RatioReporter.h"

// Eight-float vectors are passed by value only inside this file.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

using namespace folvane;

constexpr int itemCount = 100'000;
constexpr int top = 5;
constexpr int dimensions[] = {768, 1536};

std::vector<float> randomUnitVector(std::mt19937& random, int dimension) {
    std::normal_distribution<float> normal;
    std::vector<float> vector(static_cast<std::size_t>(dimension));
    float squares = 0;
    for (auto& x : vector) {
        x = normal(random);
        squares += x * x;
    }
    for (auto& x : vector) x /= std::sqrt(squares);
    return vector;
}

// Answers every text with the same vector: the query.
class FixedEmbeddings : public EmbeddingsProtocol {
  public:
    explicit FixedEmbeddings(std::vector<float> vector) : vector_(std::move(vector)) {}
    std::optional<std::vector<float>> encode(const std::string&) override { return vector_; }

  private:
    std::vector<float> vector_;
};

struct Fixture {
    std::vector<float> query;
    std::unique_ptr<SimilarityIndex> index;
    std::unique_ptr<faiss::IndexFlatIP> faissIndex;
    std::vector<std::span<const float>> views;

    explicit Fixture(int dimension) {
        std::mt19937 random(static_cast<unsigned>(dimension));
        query = randomUnitVector(random, dimension);
        index =
            std::make_unique<SimilarityIndex>("bench", std::make_shared<FixedEmbeddings>(query));
        std::vector<IndexItem> items(itemCount);
        faissIndex = std::make_unique<faiss::IndexFlatIP>(dimension);
        std::vector<float> matrix;
        matrix.reserve(std::size_t(itemCount) * std::size_t(dimension));
        std::uniform_int_distribution<unsigned> hex(0, 15);
        for (int i = 0; i < itemCount; ++i) {
            // A random UUID-shaped id, as the indexing flow gives each chunk.
            std::string id(36, '-');
            for (std::size_t c = 0; c < id.size(); ++c) {
                if (c != 8 && c != 13 && c != 18 && c != 23)
                    id[c] = "0123456789abcdef"[hex(random)];
            }
            items[i].id = id;
            items[i].text = "chunk";
            items[i].metadata = {{"bookmarkId", "1"}, {"page", std::to_string(i / 10)}};
            items[i].embedding = randomUnitVector(random, dimension);
            matrix.insert(matrix.end(), items[i].embedding.begin(), items[i].embedding.end());
        }
        faissIndex->add(itemCount, matrix.data());
        index->setIndexItems(std::move(items));
        // Views of the stored vectors, for the read baseline and the bare scan.
        index->modifyIndexItems([&](std::vector<IndexItem>& stored) {
            for (const auto& item : stored) views.emplace_back(item.embedding);
        });
    }
};

Fixture& fixture(int dimension) {
    static std::map<int, std::unique_ptr<Fixture>> fixtures;
    auto& slot = fixtures[dimension];
    if (!slot) slot = std::make_unique<Fixture>(dimension);
    return *slot;
}

double bytesRead(int dimension) {
    return double(itemCount) * dimension * sizeof(float);
}

// The plain read: every stored float summed in eight-float vectors, built like
// the index's kernels (and for AVX2 where the processor has it), so that the
// loop is limited by memory, not by the latency of an addition.
typedef float Lanes __attribute__((vector_size(32)));

__attribute__((target_clones("avx2", "default"))) float sumAll(
    const std::vector<std::span<const float>>& views) {
    Lanes first = {}, second = {};
    for (const auto& vector : views) {
        for (std::size_t i = 0; i + 16 <= vector.size(); i += 16) {
            Lanes x, y;
            __builtin_memcpy(&x, vector.data() + i, sizeof x);
            __builtin_memcpy(&y, vector.data() + i + 8, sizeof y);
            first += x;
            second += y;
        }
    }
    first += second;
    float sum = 0;
    for (int j = 0; j < 8; ++j) sum += first[j];
    return sum;
}

void BM_ReadBaseline(benchmark::State& state) {
    const auto& views = fixture(int(state.range(0))).views;
    for (auto _ : state) benchmark::DoNotOptimize(sumAll(views));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytesRead(int(state.range(0)))));
}

void BM_CosineFindNearest(benchmark::State& state) {
    auto& f = fixture(int(state.range(0)));
    const CosineSimilarity cosine;
    for (auto _ : state) benchmark::DoNotOptimize(cosine.findNearest(f.query, f.views, top));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytesRead(int(state.range(0)))));
}

void BM_IndexSearch(benchmark::State& state) {
    auto& f = fixture(int(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(f.index->search("query", top));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytesRead(int(state.range(0)))));
}

void BM_FaissFlatIP(benchmark::State& state) {
    auto& f = fixture(int(state.range(0)));
    float distances[top];
    faiss::Index::idx_t labels[top];
    for (auto _ : state) {
        f.faissIndex->search(1, f.query.data(), top, distances, labels);
        benchmark::DoNotOptimize(labels);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytesRead(int(state.range(0)))));
}

void registerAll() {
    for (const int dimension : dimensions) {
        struct Entry {
            const char* name;
            void (*function)(benchmark::State&);
        };
        for (const auto& [name, function] :
             {Entry{"BM_ReadBaseline", BM_ReadBaseline},
              Entry{"BM_CosineFindNearest", BM_CosineFindNearest},
              Entry{"BM_IndexSearch", BM_IndexSearch}, Entry{"BM_FaissFlatIP", BM_FaissFlatIP}}) {
            benchmark::RegisterBenchmark(name, function)
                ->Arg(dimension)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    registerAll();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\ncosine top-%d over %d vectors\n", top, itemCount);
    for (const int dimension : dimensions) {
        const auto time = [&](const char* name) {
            return reporter.seconds(std::string(name) + "/" + std::to_string(dimension) +
                                    "/real_time");
        };
        const double baseline = time("BM_ReadBaseline");
        const double scan = time("BM_CosineFindNearest");
        const double search = time("BM_IndexSearch");
        const double faiss = time("BM_FaissFlatIP");
        if (baseline == 0 || scan == 0 || search == 0 || faiss == 0) continue;
        const double gigabytes = bytesRead(dimension) / 1e9;
        std::printf(
            "  %4d floats: read baseline %.1f GB/s; search %.1f GB/s = %.0f%% of it "
            "(scan alone %.0f%%); FAISS flat IP takes %.2fx the search's time "
            "(%.2fx the scan's)\n",
            dimension, gigabytes / baseline, gigabytes / search, 100 * baseline / search,
            100 * baseline / scan, faiss / search, faiss / scan);
    }
    benchmark::Shutdown();
    return 0;
}
