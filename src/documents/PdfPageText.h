#pragma once

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

namespace folvane {

// The page at index, or nullptr when it cannot be loaded. The caller holds
// the document's lock and drops the page.
fz_page* loadPdfPage(fz_context* context, pdf_document* document, int index);

// A page's structured text, read with the options that extraction reads a
// page with, so that the text searched here is the text that was indexed.
// Loaded on construction and dropped with the page; used under the
// document's lock.
class PdfPageText {
  public:
    PdfPageText(fz_context* context, pdf_document* document, int index);
    ~PdfPageText();
    PdfPageText(const PdfPageText&) = delete;
    PdfPageText& operator=(const PdfPageText&) = delete;

    // Whether the page could be loaded at all.
    bool loaded() const { return page_ != nullptr; }
    // The text, or nullptr when it could not be read.
    fz_stext_page* get() const { return text_; }
    // Whether any character that is not blank stands on the page.
    bool hasText() const;

  private:
    fz_context* context_;
    fz_page* page_;
    fz_stext_page* text_;
};

}  // namespace folvane
