#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "documents/PageGeometry.h"
#include "documents/PageImage.h"
#include "documents/TextRecognizer.h"

namespace folvane {

class TesseractTextRecognizer;

// The text lines of pages that have no text of their own, read by OCR with
// where each character stands, in page points. Each page is read once and
// kept; one page is read at a time. Thread-safe.
class PdfPageOcr {
  public:
    // Draws a page in grey at a resolution (pixels per inch); none when the
    // page cannot be drawn.
    using PageRenderer = std::function<std::optional<PageImage>(int resolution)>;

    explicit PdfPageOcr(RecognitionLevel level = RecognitionLevel::accurate);
    ~PdfPageOcr();
    PdfPageOcr(const PdfPageOcr&) = delete;
    PdfPageOcr& operator=(const PdfPageOcr&) = delete;

    // The page's recognised lines; none when it cannot be drawn or read.
    std::vector<TextLine> lines(int index, const PageRenderer& render);

  private:
    RecognitionLevel level_;
    std::mutex mutex_;
    std::map<int, std::vector<TextLine>> pages_;
    std::unique_ptr<TesseractTextRecognizer> recognizer_;
};

}  // namespace folvane
