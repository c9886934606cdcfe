// Reading a document's stored vectors back, as every chat open does: the table
// model (rows, JSON decoding, records) against the bare read of the same rows'
// text in the same run. The ratio tells what decoding costs on top of SQLite.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <random>

#include "store/EmbeddingModel.h"
#include "store/SqliteConnection.h"
#include "support/RatioReporter.h"

namespace {

using namespace folvane;

constexpr int chunks = 1000;
constexpr int dimension = 768;

struct Fixture {
    std::string path = (std::filesystem::temp_directory_path() / "folvane-store-bench.sqlite3");
    std::shared_ptr<SqliteConnection> db;

    Fixture() {
        std::filesystem::remove(path);
        db = SqliteConnection::create(path);
        db->execute(
            "CREATE TABLE embeddings (id INTEGER PRIMARY KEY, indexItem TEXT NOT NULL, "
            "bookmarkId INTEGER NOT NULL, embeddingModel TEXT NOT NULL)");
        std::mt19937 random(7);
        std::normal_distribution<float> normal;
        std::vector<Embedding> rows;
        for (int i = 0; i < chunks; ++i) {
            IndexItem item{"chunk-" + std::to_string(i), std::string(1500, 'w'), {}, {}};
            item.metadata = {{"bookmarkId", "1"}, {"page", "Optional(" + std::to_string(i) + ")"}};
            for (int d = 0; d < dimension; ++d) item.embedding.push_back(normal(random));
            rows.push_back(Embedding{{}, item, 1, "distilbert"});
        }
        EmbeddingModel(db).insert(rows);
    }
    ~Fixture() { std::filesystem::remove(path); }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

void BM_RawRowText(benchmark::State& state) {
    auto& db = *fixture().db;
    for (auto _ : state) {
        size_t bytes = 0;
        auto query =
            db.prepare("SELECT indexItem FROM embeddings WHERE bookmarkId = 1 ORDER BY id");
        while (query.step()) bytes += query.text(0).size();
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_RawRowText)->Unit(benchmark::kMillisecond);

void BM_EmbeddingModelGetAll(benchmark::State& state) {
    const EmbeddingModel model(fixture().db);
    for (auto _ : state) benchmark::DoNotOptimize(model.getAll(1));
}
BENCHMARK(BM_EmbeddingModelGetAll)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double raw = reporter.seconds("BM_RawRowText");
    const double model = reporter.seconds("BM_EmbeddingModelGetAll");
    if (raw > 0 && model > 0) {
        std::printf(
            "\nreading %d vectors of %d floats: table model takes %.2fx the bare row read\n",
            chunks, dimension, model / raw);
    }
    benchmark::Shutdown();
    return 0;
}
