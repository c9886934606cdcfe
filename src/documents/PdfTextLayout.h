#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "documents/PageGeometry.h"

extern "C" {
#include <mupdf/fitz.h>
}

namespace folvane {

// Where the text of a page stands, line by line, as MuPDF's structured text
// (or the OCR of a page without text) gives it: what a viewer selects with
// the mouse and searches.
namespace text_layout {

// The lines of a structured-text page in reading order.
std::vector<TextLine> linesOf(fz_context* context, fz_stext_page* page);

// Every match of needle in the lines, case-insensitively, in reading order.
// A run of blanks in the needle matches any run of blanks or a line break.
// One rectangle for each line a match covers: the union of its characters'
// boxes.
std::vector<PageHit> search(const std::vector<TextLine>& lines, std::string_view needle,
                            int pageIndex);

// The text between two points as a mouse selection takes it: from the
// character nearest to `from` to the one nearest to `to` (in either order),
// in reading order, lines joined by "\n".
std::string between(const std::vector<TextLine>& lines, double fromX, double fromY, double toX,
                    double toY);

}  // namespace text_layout

}  // namespace folvane
