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

    // The document at path. Throws FileError when the file is missing or cannot
    // be read, DocumentError when it is not a PDF, is encrypted with a password
    // that is not empty, or is damaged beyond repair. A damaged file that MuPDF
    // can repair opens; a PDF with no pages opens with a page count of 0.
    static std::unique_ptr<PdfDocument> open(const std::filesystem::path& path);
    // Throws as open() does for a file that can never be a readable PDF (missing,
    // unreadable, no PDF, encrypted); a damaged PDF passes, as its damage shows
    // only when it is read.
    static void checkAdmissible(const std::filesystem::path& path);

    ~PdfDocument() override;
    PdfDocument(const PdfDocument&) = delete;
    PdfDocument& operator=(const PdfDocument&) = delete;

    int pageCount() override { return pageCount_; }
    // True when MuPDF had to rebuild the file's structure: a file cut short or
    // damaged, whose pages and text may be missing.
    bool wasRepaired() const { return wasRepaired_; }
    bool hasPage(int index) override;
    // The characters of the page's text in reading order, its lines separated
    // by "\n"; absent when the page shows no character at all.
    std::optional<std::string> pageText(int index) override;
    std::vector<PdfAnnotation> annotations(int index) override;
    // The page's position in the document's page tree, from 1.
    std::optional<int> pageNumber(int index) override;
    std::optional<PageImage> renderPage(int index, int resolution) override;

  private:
    // open(); with damageAllowed, a damaged file gives nullptr instead of an error.
    static std::unique_ptr<PdfDocument> load(const std::filesystem::path& path, bool damageAllowed);
    PdfDocument(fz_context* context, pdf_document* document, int pageCount, bool wasRepaired);
    // The loaded page at index (the last one is kept), or nullptr.
    pdf_page* page(int index);

    fz_context* context_;
    pdf_document* document_;
    int pageCount_;
    bool wasRepaired_;
    int loadedIndex_ = -1;
    pdf_page* loadedPage_ = nullptr;
};

}  // namespace folvane
