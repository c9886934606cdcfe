#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "documents/PdfPageSource.h"

struct fz_context;
struct pdf_document;
struct pdf_page;

namespace folvane {

// A PDF file read with MuPDF. Each document has its own MuPDF context, so
// different documents may be used on different threads at once; one document
// is used from one thread at a time. MuPDF's messages are silenced, and
// whatever it cannot read ends as an absent value, never as a crash.
class PdfDocument final : public PdfPageSource {
  public:
    // Renders are reduced to stay within these bounds, whatever the media box.
    static constexpr int maxRenderSide = 12000;
    static constexpr long long maxRenderPixels = 40'000'000;

    // The document at path; nullptr when the file cannot be read, is not a PDF,
    // or is encrypted with a password that is not empty. A damaged file that
    // MuPDF can repair opens; a PDF with no pages opens with a page count of 0.
    static std::unique_ptr<PdfDocument> open(const std::filesystem::path& path);

    ~PdfDocument() override;
    PdfDocument(const PdfDocument&) = delete;
    PdfDocument& operator=(const PdfDocument&) = delete;

    int pageCount() override { return pageCount_; }
    bool hasPage(int index) override;
    // The characters of the page's text in reading order, its lines separated
    // by "\n"; absent when the page shows no character at all.
    std::optional<std::string> pageText(int index) override;
    std::vector<PdfAnnotation> annotations(int index) override;
    // The page's position in the document's page tree, from 1.
    std::optional<int> pageNumber(int index) override;
    std::optional<PageImage> renderPage(int index, int resolution) override;

  private:
    PdfDocument(fz_context* context, pdf_document* document, int pageCount);
    // The loaded page at index (the last one is kept), or nullptr.
    pdf_page* page(int index);

    fz_context* context_;
    pdf_document* document_;
    int pageCount_;
    int loadedIndex_ = -1;
    pdf_page* loadedPage_ = nullptr;
};

}  // namespace folvane
