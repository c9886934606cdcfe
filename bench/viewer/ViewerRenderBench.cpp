// Drawing a page at fit-width (1200 pixels wide), as the viewer does once the
// page has been recorded, against `mutool draw -w 1200` of the same pages in
// the same run. mutool's time per page is the difference between drawing
// all pages and drawing one, over the pages between: that leaves out its
// start and the opening of the file. Also: a page button's work in the
// core, tiles drawn by four threads, and the resident memory while scrolling
// through 1,000 pages. `mutool` must be on PATH (tools/install-deps.sh
// installs mupdf-tools).

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "documents/PdfViewerDocument.h"
#include "support/RatioReporter.h"
#include "support/WordsPdf.h"

namespace {

using namespace folvane;

constexpr int pages = 16;  // all of them stay recorded
constexpr int width = 1200;

struct Fixture {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / "folvane-render-bench";
    std::filesystem::path pdf = dir / "words.pdf";

    Fixture() {
        std::filesystem::create_directories(dir);
        std::ofstream(pdf, std::ios::binary) << bench::makeWordsPdf(pages, 45, 10, 3);
    }
    ~Fixture() { std::filesystem::remove_all(dir); }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

void run(const std::string& command) {
    if (std::system(command.c_str()) != 0) std::fprintf(stderr, "failed: %s\n", command.c_str());
}

void BM_MutoolDraw(benchmark::State& state) {
    const std::string command = "mutool draw -w " + std::to_string(width) +
                                " -F pnm -o /dev/null '" + fixture().pdf.string() + "' 1-" +
                                std::to_string(state.range(0)) + " >/dev/null 2>&1";
    for (auto _ : state) run(command);
}
BENCHMARK(BM_MutoolDraw)->Arg(1)->Arg(pages)->Unit(benchmark::kMillisecond)->UseRealTime();

// One page a run, the pages in turn; each was drawn once before.
void BM_ViewerRender(benchmark::State& state) {
    auto document = PdfViewerDocument::open(fixture().pdf);
    const double zoom = width / document->pageSize(0)->width;
    for (int i = 0; i < pages; ++i) document->render(i, zoom);
    int index = 0;
    size_t bytes = 0;
    for (auto _ : state) {
        bytes += document->render(index, zoom)->pixels.size();
        index = (index + 1) % pages;
    }
    benchmark::DoNotOptimize(bytes);
}
BENCHMARK(BM_ViewerRender)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

// What a page button does once the document is open: locate the cited
// passage (three lines) on its page and draw the page at fit-width, each time
// on a page not drawn before.
void BM_LocateAndRender(benchmark::State& state) {
    auto document = PdfViewerDocument::open(fixture().pdf);
    const double zoom = width / document->pageSize(0)->width;
    std::vector<std::string> passages;
    for (int i = 0; i < pages; ++i) {
        const std::string text = document->pageText(i);
        size_t start = 0;
        for (int line = 0; line < 10; ++line) start = text.find('\n', start) + 1;
        size_t end = start;
        for (int line = 0; line < 3; ++line) end = text.find('\n', end) + 1;
        passages.push_back(text.substr(start, end - start));
    }
    int index = 0;
    size_t found = 0;
    for (auto _ : state) {
        state.PauseTiming();
        document = PdfViewerDocument::open(fixture().pdf);
        state.ResumeTiming();
        found += document->locatePassage(index, passages[static_cast<size_t>(index)]).size();
        benchmark::DoNotOptimize(document->render(index, zoom));
        index = (index + 1) % pages;
    }
    if (found != 3 * static_cast<size_t>(state.iterations()))
        state.SkipWithError("a passage was not found");
}
BENCHMARK(BM_LocateAndRender)->Unit(benchmark::kMillisecond)->UseRealTime();

// Four threads drawing tiles of 512 x 512 at once, as the viewer's workers do.
void BM_ViewerTiles(benchmark::State& state) {
    static std::unique_ptr<PdfViewerDocument> document;
    if (state.thread_index() == 0) {
        document = PdfViewerDocument::open(fixture().pdf);
        for (int i = 0; i < pages; ++i) document->render(i, 1);
    }
    const double zoom = width / 612.0;
    int tile = state.thread_index();
    for (auto _ : state) {
        const int x = (tile % 3) * 512, y = (tile / 3 % 4) * 512;
        benchmark::DoNotOptimize(
            document->renderTile(tile % pages, zoom, {x, y, x + 512, y + 512}));
        tile += state.threads();
    }
    if (state.thread_index() == 0) document.reset();
}
BENCHMARK(BM_ViewerTiles)->Threads(4)->Unit(benchmark::kMillisecond)->UseRealTime();

// Resident memory in MB, from /proc/self/statm.
double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long total = 0, resident = 0;
    statm >> total >> resident;
    return static_cast<double>(resident) * 4096 / (1024 * 1024);
}

std::pair<double, double> scrollMemory;

// Scrolling through 1,000 pages at fit-width, each page drawn once: the
// resident memory after 100 pages and after all of them. What stays is the
// document's bounded caches, not the pages.
void BM_ScrollMemory(benchmark::State& state) {
    const auto pdf = fixture().dir / "long.pdf";
    std::ofstream(pdf, std::ios::binary) << bench::makeWordsPdf(1000, 45, 10, 4);
    for (auto _ : state) {
        auto document = PdfViewerDocument::open(pdf);
        const double zoom = width / document->pageSize(0)->width;
        double after100 = 0;
        for (int i = 0; i < document->pageCount(); ++i) {
            benchmark::DoNotOptimize(document->render(i, zoom));
            if (i == 99) after100 = residentMegabytes();
        }
        scrollMemory = {after100, residentMegabytes()};
        state.counters["MB after 100"] = scrollMemory.first;
        state.counters["MB after 1000"] = scrollMemory.second;
    }
}
BENCHMARK(BM_ScrollMemory)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double one = reporter.seconds("BM_MutoolDraw/1/");
    const double all = reporter.seconds("BM_MutoolDraw/" + std::to_string(pages) + "/");
    const double mutool = (all - one) / (pages - 1);
    const double ours = reporter.seconds("BM_ViewerRender/repeats:9/real_time_median");
    if (mutool > 0 && ours > 0) {
        std::printf(
            "\na page at %d pixels wide: median %.2f ms (goal 16 ms); mutool draw %.2f ms "
            "a page; %.2fx mutool's time a page\n",
            width, ours * 1000, mutool * 1000, ours / mutool);
    }
    const double jump = reporter.seconds("BM_LocateAndRender");
    if (mutool > 0 && jump > 0) {
        std::printf(
            "a page button's passage located and its page drawn: %.2f ms (goal 100 ms); "
            "%.2fx mutool's time to draw a page\n",
            jump * 1000, jump / mutool);
    }
    if (scrollMemory.second > 0) {
        std::printf(
            "scrolling through 1,000 pages: %.1f MB resident after 100 pages, %.1f MB "
            "after 1,000 (goal: no growth)\n",
            scrollMemory.first, scrollMemory.second);
    }
    return 0;
}
