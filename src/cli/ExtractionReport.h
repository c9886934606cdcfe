#pragma once

#include <cstddef>
#include <string>

namespace folvane {

class CliContext;
class PdfDocument;

// Says on standard error what a reader of the PDF's extracted text must know
// (no pages, no text, a damaged file) and gives the exit status: 1 when
// nothing could be read, else 0.
int reportExtraction(CliContext& context, const std::string& file, PdfDocument& pdf,
                     size_t pagesWithText);

}  // namespace folvane
