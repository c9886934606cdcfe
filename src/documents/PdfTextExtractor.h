#pragma once

#include <optional>
#include <random>
#include <stop_token>
#include <string>
#include <vector>

#include "SimilaritySearchKit/Document.h"
#include "documents/OcrWorkerPool.h"
#include "documents/PdfPageSource.h"

namespace folvane {

class AppPreferences;

// The two settings that steer OCR.
struct OcrSettings {
    bool useOCRForPDFForms = true;
    std::string ocrRecognitionLevel = "accurate";

    static OcrSettings from(const AppPreferences& preferences);
};

// A page document and how its text was read.
struct ExtractedPage {
    Document document;
    bool ocr = false;
};

// The metadata key of a page document, and its value: the page number in
// decimal, or "nil" when the PDF gives the page none.
inline constexpr const char* pageMetadataKey = "page";
std::string pageMetadataValue(std::optional<int> pageNumber);

// Whether a document is made of scanned pages: true unless one of up to
// sampleCount distinct pages, picked at random, has a text layer of threshold
// characters or more. A document without pages counts as scanned.
bool isScannedPDF(PdfPageSource& pdf, int sampleCount, int threshold);
bool isScannedPDF(PdfPageSource& pdf, int sampleCount, int threshold, std::mt19937& random);

// Turns a PDF into one Document per page with text. Each page takes its text
// layer or, where that cannot be trusted, the OCR of its rendering; pages to
// read run in parallel, one per recognizer thread, and come back in page order.
// Whatever goes wrong with one page costs only that page: it is logged and the
// page has no Document.
class PdfTextExtractor {
  public:
    // ocrThreads: the most pages read at once; 0 means one per processor core.
    PdfTextExtractor(OcrSettings settings, TextRecognizerFactory makeRecognizer,
                     unsigned ocrThreads = 0);
    // With Tesseract as the recognizer.
    explicit PdfTextExtractor(OcrSettings settings);

    // Stops between pages when stop is requested, with the pages done so far.
    std::vector<Document> extractPages(PdfPageSource& pdf, bool scanned, bool forceOCR,
                                       std::stop_token stop = {}) const;
    // The same pages, each with whether it went through OCR.
    std::vector<ExtractedPage> extractPagesDetailed(PdfPageSource& pdf, bool scanned, bool forceOCR,
                                                    std::stop_token stop = {}) const;

    // Whether a page goes to OCR, by the settings and what the page holds.
    bool shouldOCR(const std::optional<std::string>& text, int formTexts, bool scanned,
                   bool forceOCR) const;

  private:
    OcrSettings settings_;
    TextRecognizerFactory makeRecognizer_;
    unsigned ocrThreads_;
};

}  // namespace folvane
