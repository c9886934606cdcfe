// Reading stored vectors: the `indexItem` column's JSON of a chat's chunks
// (id, text, 768 floats, metadata) into IndexItem records, by the program's
// own reader, against simdjson's on-demand parser on the same texts in the
// same run (and the general JSON library, for the record). Goal: at least
// half of simdjson's rate.

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <cstdio>
#include <map>
#include <random>

#include "store/IndexItemJsonReader.h"
#include "store/JsonText.h"
#include "support/RatioReporter.h"

namespace {

using namespace folvane;

constexpr int chunks = 3000;
constexpr int dimension = 768;

struct Fixture {
    std::vector<std::string> rows;
    std::vector<simdjson::padded_string> paddedRows;
    size_t bytes = 0;

    Fixture() {
        std::mt19937 random(7);
        std::normal_distribution<float> normal(0.0f, 0.05f);
        const std::string words =
            "The block chain grows by one block every ten minutes on average, and "
            "each node checks the proof of work before it relays a block. ";
        for (int i = 0; i < chunks; ++i) {
            IndexItem item;
            item.id = "5F0B6C1E-8D2A-4C7B-9E3F-" + std::to_string(100000000000 + i);
            while (item.text.size() < 1800) item.text += words;
            item.text += "\"Quoted\" and caf\u00e9.";
            for (int d = 0; d < dimension; ++d) item.embedding.push_back(normal(random));
            item.metadata = {{"bookmarkId", "3"},
                             {"page", "Optional(" + std::to_string(i / 4 + 1) + ")"}};
            rows.push_back(compactJson(toJson(item)));
            paddedRows.emplace_back(rows.back());
            bytes += rows.back().size();
        }
    }
};

const Fixture& fixture() {
    static const Fixture instance;
    return instance;
}

void BM_IndexItemJsonReader(benchmark::State& state) {
    const auto& f = fixture();
    for (auto _ : state) {
        for (const auto& row : f.rows) {
            auto item = IndexItemJsonReader::read(row);
            if (!item) state.SkipWithError("a row was not read");
            benchmark::DoNotOptimize(item);
        }
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(f.bytes));
}

IndexItem simdjsonItem(simdjson::ondemand::parser& parser, const simdjson::padded_string& row) {
    IndexItem item;
    simdjson::ondemand::document document = parser.iterate(row);
    for (auto field : document.get_object()) {
        const std::string_view key = field.unescaped_key();
        if (key == "embedding") {
            item.embedding.reserve(dimension);
            for (double value : field.value().get_array()) {
                item.embedding.push_back(static_cast<float>(value));
            }
        } else if (key == "text") {
            item.text = std::string_view(field.value().get_string());
        } else if (key == "id") {
            item.id = std::string_view(field.value().get_string());
        } else if (key == "metadata") {
            for (auto entry : field.value().get_object()) {
                item.metadata.insert_or_assign(
                    std::string(std::string_view(entry.unescaped_key())),
                    std::string(std::string_view(entry.value().get_string())));
            }
        }
    }
    return item;
}

void BM_Simdjson(benchmark::State& state) {
    const auto& f = fixture();
    simdjson::ondemand::parser parser;
    for (auto _ : state) {
        for (const auto& row : f.paddedRows) benchmark::DoNotOptimize(simdjsonItem(parser, row));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(f.bytes));
}

void BM_JsonLibrary(benchmark::State& state) {
    const auto& f = fixture();
    for (auto _ : state) {
        for (const auto& row : f.rows) {
            benchmark::DoNotOptimize(indexItemFromJson(nlohmann::json::parse(row)));
        }
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(f.bytes));
}

BENCHMARK(BM_IndexItemJsonReader)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Simdjson)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JsonLibrary)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    // Both parsers must make the same records before their speed means anything.
    {
        simdjson::ondemand::parser parser;
        const auto& f = fixture();
        for (size_t i = 0; i < f.rows.size(); ++i) {
            if (IndexItemJsonReader::read(f.rows[i]) != simdjsonItem(parser, f.paddedRows[i])) {
                std::fprintf(stderr, "row %zu: the readers disagree\n", i);
                return 1;
            }
        }
    }
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double ours = reporter.seconds("BM_IndexItemJsonReader");
    const double simd = reporter.seconds("BM_Simdjson");
    const double library = reporter.seconds("BM_JsonLibrary");
    if (ours > 0 && simd > 0) {
        const double megabytes = double(fixture().bytes) / 1e6;
        std::printf(
            "\nreading %d stored items of %d floats (%.1f MB): ours %.0f MB/s, simdjson %.0f MB/s "
            "-> %.2fx simdjson's rate (goal >= 0.50)",
            chunks, dimension, megabytes, megabytes / ours, megabytes / simd, simd / ours);
        if (library > 0) std::printf("; the JSON library's rate is %.2fx ours", ours / library);
        std::printf("\n");
    }
    benchmark::Shutdown();
    return 0;
}
