#pragma once

#include <optional>
#include <string>
#include <vector>

#include "documents/PageImage.h"

namespace folvane {

// An annotation as extraction sees it: its subtype name ("FreeText", "Text",
// "Link", ...) and its text, absent when it has none.
struct PdfAnnotation {
    std::string type;
    std::optional<std::string> contents;
};

// What text extraction needs of an open PDF. Pages are addressed by 0-based
// index; a page that cannot be loaded is absent. Used from one thread at a time.
class PdfPageSource {
  public:
    virtual ~PdfPageSource() = default;

    virtual int pageCount() = 0;
    virtual bool hasPage(int index) = 0;
    // The page's text layer; absent when the page has none (or is absent).
    virtual std::optional<std::string> pageText(int index) = 0;
    virtual std::vector<PdfAnnotation> annotations(int index) = 0;
    // The 1-based number that the PDF gives the page; absent when it gives none.
    virtual std::optional<int> pageNumber(int index) = 0;
    // The page's media box drawn on white at `resolution` pixels per inch (the
    // size may be reduced to stay within a pixel budget); absent when no
    // bitmap can be made.
    virtual std::optional<PageImage> renderPage(int index, int resolution) = 0;
};

}  // namespace folvane
