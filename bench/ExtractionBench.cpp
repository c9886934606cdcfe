// Text extraction and OCR against the command-line tools on the same input,
// measured in the same run:
//  - text layers, pages per second: the extractor (open, annotations, text of
//    every page) against `mutool draw -F txt` over the same generated PDF;
//  - OCR, seconds per page: the recognizer against the `tesseract` command on
//    the same rendered page images, both on one thread.
// Both commands must be on PATH (tools/install-deps.sh installs them).

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "documents/TesseractTextRecognizer.h"
#include "platform/Log.h"
#include "support/RatioReporter.h"
#include "support/WordsPdf.h"

namespace {

using namespace folvane;

constexpr int textPages = 200;
constexpr int ocrPages = 3;

void writePgm(const std::filesystem::path& path, const PageImage& image) {
    std::ofstream out(path, std::ios::binary);
    out << "P5\n" << image.width << ' ' << image.height << "\n255\n";
    out.write(reinterpret_cast<const char*>(image.pixels.data()),
              static_cast<std::streamsize>(image.pixels.size()));
}

struct Fixture {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / "folvane-extraction-bench";
    std::filesystem::path textPdf = dir / "text.pdf";
    std::vector<PageImage> images;
    std::vector<std::filesystem::path> imageFiles;

    Fixture() {
        std::filesystem::create_directories(dir);
        std::ofstream(textPdf, std::ios::binary) << bench::makeWordsPdf(textPages, 45, 10, 1);
        const auto ocrPdf = dir / "ocr.pdf";
        std::ofstream(ocrPdf, std::ios::binary) << bench::makeWordsPdf(ocrPages, 20, 11, 2);
        auto pdf = PdfDocument::open(ocrPdf);
        for (int i = 0; i < ocrPages; ++i) {
            images.push_back(*pdf->renderPage(i, renderResolution(RecognitionLevel::accurate)));
            imageFiles.push_back(dir / ("page" + std::to_string(i) + ".pgm"));
            writePgm(imageFiles.back(), images.back());
        }
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

void BM_MutoolText(benchmark::State& state) {
    const std::string command =
        "mutool draw -F txt -o /dev/null '" + fixture().textPdf.string() + "' >/dev/null 2>&1";
    for (auto _ : state) run(command);
    state.counters["pages/s"] =
        benchmark::Counter(textPages, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_MutoolText)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ExtractText(benchmark::State& state) {
    const PdfTextExtractor extractor(OcrSettings{});
    size_t characters = 0;
    for (auto _ : state) {
        auto pdf = PdfDocument::open(fixture().textPdf);
        for (const auto& page : extractor.extractPages(*pdf, false, false)) {
            characters += page.pageContent.size();
        }
    }
    benchmark::DoNotOptimize(characters);
    state.counters["pages/s"] =
        benchmark::Counter(textPages, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_ExtractText)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_TesseractCommand(benchmark::State& state) {
    for (auto _ : state) {
        for (const auto& file : fixture().imageFiles) {
            run("OMP_THREAD_LIMIT=1 tesseract '" + file.string() +
                "' stdout --dpi 300 -l eng >/dev/null 2>&1");
        }
    }
}
BENCHMARK(BM_TesseractCommand)->Unit(benchmark::kSecond)->Iterations(2);

void recognize(benchmark::State& state, RecognitionLevel level) {
    TesseractTextRecognizer recognizer;
    // The model is loaded once per thread in use, not per page.
    recognizer.recognizeText(PageImage{64, 64, 300, std::vector<uint8_t>(64 * 64, 255)}, level);
    size_t lines = 0;
    for (auto _ : state) {
        for (const auto& image : fixture().images) {
            if (level == RecognitionLevel::accurate) {
                lines += recognizer.recognizeText(image, level).size();
            } else {
                // The fast level reads the page drawn at its own, lower resolution.
                PageImage half{image.width / 2, image.height / 2, image.resolution / 2, {}};
                half.pixels.resize(static_cast<size_t>(half.width) * half.height);
                for (int y = 0; y < half.height; ++y) {
                    for (int x = 0; x < half.width; ++x) {
                        half.pixels[static_cast<size_t>(y) * half.width + x] =
                            image.pixels[static_cast<size_t>(2 * y) * image.width + 2 * x];
                    }
                }
                lines += recognizer.recognizeText(half, level).size();
            }
        }
    }
    benchmark::DoNotOptimize(lines);
}

void BM_RecognizeAccurate(benchmark::State& state) {
    recognize(state, RecognitionLevel::accurate);
}
BENCHMARK(BM_RecognizeAccurate)->Unit(benchmark::kSecond)->Iterations(2);

void BM_RecognizeFast(benchmark::State& state) {
    recognize(state, RecognitionLevel::fast);
}
BENCHMARK(BM_RecognizeFast)->Unit(benchmark::kSecond)->Iterations(2);

}  // namespace

int main(int argc, char** argv) {
    folvane::setLogSink([](std::string_view) {});
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const double mutool = reporter.seconds("BM_MutoolText");
    const double extract = reporter.seconds("BM_ExtractText");
    if (mutool > 0 && extract > 0) {
        std::printf(
            "\ntext layers of %d pages: %.2fx the page rate of mutool draw -F txt (goal 0.5x)\n",
            textPages, mutool / extract);
    }
    const double command = reporter.seconds("BM_TesseractCommand");
    const double accurate = reporter.seconds("BM_RecognizeAccurate");
    const double fast = reporter.seconds("BM_RecognizeFast");
    if (command > 0 && accurate > 0) {
        std::printf(
            "OCR of %d pages at 300 ppi: %.2f s a page, %.2fx the page rate of the "
            "tesseract command (%.2f s a page; goal 0.9x)\n",
            ocrPages, accurate / ocrPages, command / accurate, command / ocrPages);
    }
    if (accurate > 0 && fast > 0) {
        std::printf("fast level: %.2f s a page, %.2fx the page rate of the accurate level\n",
                    fast / ocrPages, accurate / fast);
    }
    benchmark::Shutdown();
    return 0;
}
