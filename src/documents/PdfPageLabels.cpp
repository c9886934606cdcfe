#include "documents/PdfPageLabels.h"

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

#include <algorithm>
#include <cctype>
#include <utility>

namespace folvane {

// The blocks between fz_try and fz_catch hold only plain C values, since
// MuPDF leaves them by longjmp.

namespace {

// /PageLabels trees nest /Kids; a deeper tree is treated as damaged.
constexpr int maxLabelDepth = 32;

// A dictionary's entry, or nullptr when the object is none or cannot be read.
pdf_obj* entry(fz_context* context, pdf_obj* dictionary, const char* key) {
    pdf_obj* value = nullptr;
    fz_var(value);
    fz_try(context) {
        value = pdf_dict_gets(context, dictionary, key);
    }
    fz_catch(context) {
        value = nullptr;
    }
    return value;
}

int arrayLength(fz_context* context, pdf_obj* array) {
    int length = 0;
    fz_var(length);
    fz_try(context) {
        length = pdf_is_array(context, array) ? pdf_array_len(context, array) : 0;
    }
    fz_catch(context) {
        length = 0;
    }
    return length;
}

pdf_obj* arrayItem(fz_context* context, pdf_obj* array, int index) {
    pdf_obj* item = nullptr;
    fz_var(item);
    fz_try(context) {
        item = pdf_array_get(context, array, index);
    }
    fz_catch(context) {
        item = nullptr;
    }
    return item;
}

struct RawLabel {
    int index = -1;
    const char* style = "";
    const char* prefix = "";
    int start = 1;
};

RawLabel readLabel(fz_context* context, pdf_obj* number, pdf_obj* dictionary) {
    RawLabel label;
    fz_try(context) {
        if (pdf_is_int(context, number)) label.index = pdf_to_int(context, number);
        pdf_obj* style = pdf_dict_gets(context, dictionary, "S");
        if (pdf_is_name(context, style)) label.style = pdf_to_name(context, style);
        pdf_obj* prefix = pdf_dict_gets(context, dictionary, "P");
        if (pdf_is_string(context, prefix)) label.prefix = pdf_to_text_string(context, prefix);
        pdf_obj* start = pdf_dict_gets(context, dictionary, "St");
        if (pdf_is_int(context, start)) label.start = pdf_to_int(context, start);
    }
    fz_catch(context) {
        label.index = -1;
    }
    return label;
}

std::string roman(int number) {
    static constexpr std::pair<int, const char*> digits[] = {
        {1000, "m"}, {900, "cm"}, {500, "d"}, {400, "cd"}, {100, "c"}, {90, "xc"}, {50, "l"},
        {40, "xl"},  {10, "x"},   {9, "ix"},  {5, "v"},    {4, "iv"},  {1, "i"}};
    std::string out;
    for (const auto& [value, text] : digits) {
        while (number >= value) {
            out += text;
            number -= value;
        }
    }
    return out;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

}  // namespace

std::string formatPageLabelNumber(const std::string& style, int number) {
    if (style == "D") return std::to_string(number);
    if (number < 1) return {};
    if (style == "r") return roman(number);
    if (style == "R") return upper(roman(number));
    if (style == "a" || style == "A") {
        // 1..26 are a..z, then aa..zz, aaa..zzz: the letter repeated.
        const char letter = static_cast<char>((style == "a" ? 'a' : 'A') + (number - 1) % 26);
        return std::string(static_cast<size_t>((number - 1) / 26 + 1), letter);
    }
    return {};
}

PdfPageLabels PdfPageLabels::read(fz_context* context, pdf_document* document, int pageCount) {
    PdfPageLabels labels;
    pdf_obj* root = entry(context, pdf_trailer(context, document), "Root");
    pdf_obj* tree = entry(context, root, "PageLabels");
    // Walked depth first, which keeps the leaves' order.
    std::vector<std::pair<pdf_obj*, int>> pending;
    if (tree) pending.emplace_back(tree, 0);
    while (!pending.empty()) {
        auto [node, depth] = pending.back();
        pending.pop_back();
        pdf_obj* nums = entry(context, node, "Nums");
        const int count = arrayLength(context, nums);
        for (int i = 0; i + 1 < count; i += 2) {
            const RawLabel raw =
                readLabel(context, arrayItem(context, nums, i), arrayItem(context, nums, i + 1));
            if (raw.index < 0 || raw.index >= pageCount) continue;
            labels.ranges_.push_back({raw.index, raw.style, raw.prefix, raw.start});
        }
        if (depth >= maxLabelDepth) continue;
        pdf_obj* kids = entry(context, node, "Kids");
        for (int i = arrayLength(context, kids) - 1; i >= 0; --i) {
            pending.emplace_back(arrayItem(context, kids, i), depth + 1);
        }
    }
    std::stable_sort(labels.ranges_.begin(), labels.ranges_.end(),
                     [](const Range& a, const Range& b) { return a.firstIndex < b.firstIndex; });
    return labels;
}

std::string PdfPageLabels::label(int index) const {
    auto range = std::upper_bound(ranges_.begin(), ranges_.end(), index,
                                  [](int i, const Range& r) { return i < r.firstIndex; });
    if (range == ranges_.begin()) return std::to_string(index + 1);
    --range;
    return range->prefix +
           formatPageLabelNumber(range->style, range->start + index - range->firstIndex);
}

}  // namespace folvane
