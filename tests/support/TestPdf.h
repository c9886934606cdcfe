#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace folvane::test {

// The bytes of a small, valid PDF with one page for each entry of pageTexts,
// each page showing its text (printable ASCII) in Helvetica, so that text
// extraction reads it back.
std::string makePdf(const std::vector<std::string>& pageTexts);

// A PDF of pageCount pages reading "Page 1", "Page 2", ... written to path.
void writePdf(const std::filesystem::path& path, int pageCount);

}  // namespace folvane::test
