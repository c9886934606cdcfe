#pragma once

#include <string>
#include <vector>

struct fz_context;
struct pdf_document;

namespace folvane {

// The labels of a document's pages as its catalogue's /PageLabels number tree
// gives them (leaves in /Nums, inner nodes in /Kids).
class PdfPageLabels {
  public:
    PdfPageLabels() = default;
    // A damaged or missing tree gives no ranges: every page then has its number.
    static PdfPageLabels read(fz_context* context, pdf_document* document, int pageCount);

    // The page's label ("xii", "A-3"), or its number from 1 when no range
    // covers it.
    std::string label(int index) const;

  private:
    struct Range {
        int firstIndex = 0;
        std::string style;  // "D", "R", "r", "A", "a" or empty: no number
        std::string prefix;
        int start = 1;
    };

    std::vector<Range> ranges_;
};

// The label of a page number in a /PageLabels style: "D" decimal, "R"/"r"
// Roman numerals, "A"/"a" letters (A..Z, AA..ZZ, ...), empty for none.
std::string formatPageLabelNumber(const std::string& style, int number);

}  // namespace folvane
