#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace folvane::test {

// The bytes of a small, valid PDF with one page for each entry of pageTexts,
// each page showing its text (printable ASCII) in Helvetica, so that text
// extraction reads it back.
std::string makePdf(const std::vector<std::string>& pageTexts);

// An annotation on a test page: its subtype ("FreeText", "Text", ...), its
// /Contents when given, and where it sits.
struct TestAnnotation {
    TestAnnotation(std::string subtypeName, std::optional<std::string> text,
                   std::string where = "72 500 540 560")
        : subtype(std::move(subtypeName)), contents(std::move(text)), rect(std::move(where)) {}

    std::string subtype;
    std::optional<std::string> contents;
    std::string rect;
};

// A test page: lines of printable ASCII shown one under another from the top
// left, its annotations, and its media box.
struct TestPage {
    TestPage(std::vector<std::string> shownLines = {}, double size = 12)
        : lines(std::move(shownLines)), fontSize(size) {}

    std::vector<std::string> lines;
    double fontSize;
    std::vector<TestAnnotation> annotations;
    std::string mediaBox = "0 0 612 792";
};

// The bytes of a PDF with these pages.
std::string makePdfWithPages(const std::vector<TestPage>& pages);

// The bytes of a PDF of scanned pages: each page is one grey image of its lines
// (drawn at fontSize points, pictured at 150 ppi), with no text layer at all.
std::string makeScannedPdf(const std::vector<std::vector<std::string>>& pageLines,
                           double fontSize = 20);

// The bytes of pdf saved again, encrypted with AES-128 and these passwords.
std::string encryptPdf(const std::string& pdf, const std::string& userPassword,
                       const std::string& ownerPassword);

// A PDF of pageCount pages reading "Page 1", "Page 2", ... written to path.
void writePdf(const std::filesystem::path& path, int pageCount);

}  // namespace folvane::test
