#include "documents/PdfTextExtractor.h"

#include <algorithm>
#include <set>
#include <thread>

#include "documents/CharacterCount.h"
#include "documents/OcrError.h"
#include "documents/TesseractTextRecognizer.h"
#include "platform/Log.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

// A text layer shorter than this is read by OCR instead.
constexpr size_t minimumTextLayer = 30;

Document pageDocument(std::string text, std::optional<int> pageNumber) {
    return Document{std::move(text), {{pageMetadataKey, pageMetadataValue(pageNumber)}}};
}

int formTextCount(const std::vector<PdfAnnotation>& annotations) {
    return static_cast<int>(std::count_if(annotations.begin(), annotations.end(), [](auto& a) {
        return a.type == "FreeText" && a.contents.has_value();
    }));
}

// One page's outcome, written by at most one thread.
struct PageSlot {
    enum class State { empty, done, failed };
    State state = State::empty;
    ExtractedPage page;
    std::string error;
};

}  // namespace

OcrSettings OcrSettings::from(const AppPreferences& preferences) {
    return {preferences.useOCRForPDFForms(), preferences.ocrRecognitionLevel()};
}

std::string pageMetadataValue(std::optional<int> pageNumber) {
    return pageNumber ? std::to_string(*pageNumber) : "nil";
}

bool isScannedPDF(PdfPageSource& pdf, int sampleCount, int threshold) {
    std::mt19937 random(std::random_device{}());
    return isScannedPDF(pdf, sampleCount, threshold, random);
}

bool isScannedPDF(PdfPageSource& pdf, int sampleCount, int threshold, std::mt19937& random) {
    const int pages = pdf.pageCount();
    const int n = std::max(0, std::min(sampleCount, pages));
    if (n == 0) return true;
    std::uniform_int_distribution<int> pick(0, pages - 1);
    std::set<int> sample;
    while (static_cast<int>(sample.size()) < n) sample.insert(pick(random));
    const size_t needed = static_cast<size_t>(std::max(0, threshold));
    for (int index : sample) {
        const auto text = pdf.pageText(index);
        if (!text) continue;
        if (countCharacters(*text, needed) >= needed) return false;
    }
    return true;
}

PdfTextExtractor::PdfTextExtractor(OcrSettings settings, TextRecognizerFactory makeRecognizer,
                                   unsigned ocrThreads)
    : settings_(std::move(settings)),
      makeRecognizer_(std::move(makeRecognizer)),
      ocrThreads_(ocrThreads ? ocrThreads : std::max(1u, std::thread::hardware_concurrency())) {}

PdfTextExtractor::PdfTextExtractor(OcrSettings settings)
    : PdfTextExtractor(std::move(settings),
                       [] { return std::make_unique<TesseractTextRecognizer>(); }) {}

bool PdfTextExtractor::shouldOCR(const std::optional<std::string>& text, int formTexts,
                                 bool scanned, bool forceOCR) const {
    if (settings_.useOCRForPDFForms && formTexts >= 1) return true;
    if (text) {
        return countCharacters(*text, minimumTextLayer) < minimumTextLayer || forceOCR || scanned;
    }
    return forceOCR || scanned;
}

std::vector<Document> PdfTextExtractor::extractPages(PdfPageSource& pdf, bool scanned,
                                                     bool forceOCR, std::stop_token stop) const {
    std::vector<Document> documents;
    for (auto& page : extractPagesDetailed(pdf, scanned, forceOCR, stop)) {
        documents.push_back(std::move(page.document));
    }
    return documents;
}

std::vector<ExtractedPage> PdfTextExtractor::extractPagesDetailed(PdfPageSource& pdf, bool scanned,
                                                                  bool forceOCR,
                                                                  std::stop_token stop) const {
    const int pageCount = std::max(0, pdf.pageCount());
    const RecognitionLevel level = recognitionLevelFromSetting(settings_.ocrRecognitionLevel);
    std::vector<PageSlot> slots(static_cast<size_t>(pageCount));
    std::optional<OcrWorkerPool> pool;

    for (int index = 0; index < pageCount && !stop.stop_requested(); ++index) {
        if (!pdf.hasPage(index)) continue;
        const int formTexts = formTextCount(pdf.annotations(index));
        // A page with form texts goes to OCR without its text layer being read.
        const bool formPage = settings_.useOCRForPDFForms && formTexts >= 1;
        const std::optional<std::string> text = formPage ? std::nullopt : pdf.pageText(index);
        const bool ocr = shouldOCR(text, formTexts, scanned, forceOCR);
        log(std::string("shouldDoOCR ") + (ocr ? "true" : "false"));
        const std::optional<int> number = pdf.pageNumber(index);
        PageSlot& slot = slots[static_cast<size_t>(index)];

        if (!ocr) {
            if (text && !text->empty()) {
                slot.page = {pageDocument(*text, number), false};
                slot.state = PageSlot::State::done;
            } else {
                log("no page content");
            }
            continue;
        }

        auto image = pdf.renderPage(index, renderResolution(level));
        if (!image) {
            log(OcrError::imageConversionFailed().describe());
            continue;
        }
        if (!pool) pool.emplace(makeRecognizer_, ocrThreads_);
        pool->submit(
            [&slot, image = std::move(*image), level, number, stop](TextRecognizer& recognizer) {
                if (stop.stop_requested()) return;
                try {
                    // One line a line, a blank line between paragraphs, as the
                    // page shows them: chunks, retrieval and highlights follow it.
                    std::string joined;
                    for (const auto& line : recognizer.recognizeText(image, level)) {
                        if (!joined.empty()) joined += '\n';
                        joined += line;
                    }
                    slot.page = {pageDocument(std::move(joined), number), true};
                    slot.state = PageSlot::State::done;
                } catch (const OcrError& error) {
                    slot.error = error.describe();
                    slot.state = PageSlot::State::failed;
                } catch (const std::exception& error) {
                    slot.error = error.what();
                    slot.state = PageSlot::State::failed;
                }
            });
    }
    if (pool) pool->finish();

    std::vector<ExtractedPage> pages;
    for (auto& slot : slots) {
        if (slot.state == PageSlot::State::done) pages.push_back(std::move(slot.page));
        if (slot.state == PageSlot::State::failed) log(slot.error);
    }
    return pages;
}

}  // namespace folvane
