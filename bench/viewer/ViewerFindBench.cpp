// Find in a 1,000-page document, against `mutool draw -F stext` extraction of
// the same pages in the same run: the time from the start of a search to its
// first hit (on the first page, the document already open), and the page rate
// of a search through every page. `mutool` must be on PATH
// (tools/install-deps.sh installs mupdf-tools).

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "documents/PdfViewerDocument.h"
#include "support/RatioReporter.h"
#include "support/WordsPdf.h"

namespace {

using namespace folvane;

constexpr int pages = 1000;

struct Fixture {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / "folvane-find-bench";
    std::filesystem::path pdf = dir / "words.pdf";
    std::string needle;

    Fixture() {
        std::filesystem::create_directories(dir);
        std::ofstream(pdf, std::ios::binary) << bench::makeWordsPdf(pages, 45, 10, 5);
        // The third word of the first page: found at once, and often after.
        std::istringstream words(PdfViewerDocument::open(pdf)->pageText(0));
        for (int i = 0; i < 3; ++i) words >> needle;
    }
    ~Fixture() { std::filesystem::remove_all(dir); }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

void BM_MutoolStext(benchmark::State& state) {
    const std::string command =
        "mutool draw -F stext -o /dev/null '" + fixture().pdf.string() + "' >/dev/null 2>&1";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0)
            std::fprintf(stderr, "failed: %s\n", command.c_str());
    }
    state.counters["pages/s"] =
        benchmark::Counter(pages, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_MutoolStext)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FindFirstHit(benchmark::State& state) {
    for (auto _ : state) {
        auto document = PdfViewerDocument::open(fixture().pdf);
        const auto start = std::chrono::steady_clock::now();
        document->searchDocument(fixture().needle, [](const PageHit&) { return false; });
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(BM_FindFirstHit)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(20);

void BM_FindAllHits(benchmark::State& state) {
    auto document = PdfViewerDocument::open(fixture().pdf);
    size_t hits = 0;
    for (auto _ : state) {
        document->searchDocument(fixture().needle, [&](const PageHit&) { return ++hits > 0; });
    }
    benchmark::DoNotOptimize(hits);
    state.counters["pages/s"] =
        benchmark::Counter(pages, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_FindAllHits)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double mutool = reporter.seconds("BM_MutoolStext");
    const double first = reporter.seconds("BM_FindFirstHit");
    const double all = reporter.seconds("BM_FindAllHits");
    if (first > 0) {
        std::printf("\nfirst hit of \"%s\" in %d pages: %.2f ms (goal 100 ms)\n",
                    fixture().needle.c_str(), pages, first * 1000);
    }
    if (mutool > 0 && all > 0) {
        std::printf(
            "all hits: %.0f pages/s, %.2fx the page rate of mutool draw -F stext "
            "(goal 0.5x)\n",
            pages / all, mutool / all);
    }
    return 0;
}
