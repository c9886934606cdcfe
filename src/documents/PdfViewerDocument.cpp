#include "documents/PdfViewerDocument.h"

#include "documents/DocumentError.h"
#include "documents/PdfDocument.h"

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

namespace folvane {

// As in PdfDocument: the blocks between fz_try and fz_catch hold only plain C
// values, since MuPDF leaves them by longjmp.

namespace {

void ignoreMessage(void*, const char*) {}

std::string quotedName(const std::filesystem::path& path) {
    return "“" + path.filename().string() + "”";
}

// The most hits of one search on one page; a longer list is cut.
constexpr int maxHitQuads = 4096;
// /PageLabels trees nest /Kids; a deeper tree is treated as damaged.
constexpr int maxLabelDepth = 32;

fz_page* loadPage(fz_context* context, pdf_document* document, int index) {
    fz_page* page = nullptr;
    fz_var(page);
    fz_try(context) {
        page = fz_load_page(context, &document->super, index);
    }
    fz_catch(context) {
        page = nullptr;
    }
    return page;
}

fz_stext_page* textOf(fz_context* context, fz_page* page) {
    fz_stext_page* text = nullptr;
    fz_var(text);
    fz_try(context) {
        // The options that extraction reads a page with, so that the text
        // searched here is the text that was indexed.
        fz_stext_options options = {};
        text = fz_new_stext_page_from_page(context, page, &options);
    }
    fz_catch(context) {
        text = nullptr;
    }
    return text;
}

PageRect rectOf(const fz_quad& quad) {
    const fz_rect rect = fz_rect_from_quad(quad);
    return {rect.x0, rect.y0, rect.x1, rect.y1};
}

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

std::unique_ptr<PdfViewerDocument> PdfViewerDocument::open(const std::filesystem::path& path) {
    // Missing, unreadable, no PDF, encrypted: said in the words of intake.
    PdfDocument::checkAdmissible(path);
    fz_context* context = fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT);
    if (!context) throw DocumentError("Not enough memory to open " + quotedName(path) + ".");
    fz_set_error_callback(context, ignoreMessage, nullptr);
    fz_set_warning_callback(context, ignoreMessage, nullptr);
    pdf_document* document = nullptr;
    int pages = -1;
    fz_var(document);
    fz_try(context) {
        document = pdf_open_document(context, path.c_str());
        if (pdf_needs_password(context, document)) pdf_authenticate_password(context, document, "");
        pages = pdf_count_pages(context, document);
    }
    fz_catch(context) {
        pages = -1;
    }
    if (pages < 0) {
        pdf_drop_document(context, document);
        fz_drop_context(context);
        throw DocumentError(quotedName(path) + " is damaged and cannot be read as a PDF.");
    }
    auto opened =
        std::unique_ptr<PdfViewerDocument>(new PdfViewerDocument(context, document, pages));
    opened->readPageLabels();
    return opened;
}

PdfViewerDocument::PdfViewerDocument(fz_context* context, pdf_document* document, int pageCount)
    : context_(context), document_(document), pageCount_(pageCount) {}

PdfViewerDocument::~PdfViewerDocument() {
    pdf_drop_document(context_, document_);
    fz_drop_context(context_);
}

void PdfViewerDocument::readPageLabels() {
    pdf_obj* root = entry(context_, pdf_trailer(context_, document_), "Root");
    pdf_obj* tree = entry(context_, root, "PageLabels");
    // The number tree: leaves hold /Nums [index dict index dict ...], inner
    // nodes /Kids. Walked depth first, which keeps the leaves' order.
    std::vector<std::pair<pdf_obj*, int>> pending;
    if (tree) pending.emplace_back(tree, 0);
    while (!pending.empty()) {
        auto [node, depth] = pending.back();
        pending.pop_back();
        pdf_obj* nums = entry(context_, node, "Nums");
        const int count = arrayLength(context_, nums);
        for (int i = 0; i + 1 < count; i += 2) {
            const RawLabel raw =
                readLabel(context_, arrayItem(context_, nums, i), arrayItem(context_, nums, i + 1));
            if (raw.index < 0 || raw.index >= pageCount_) continue;
            labels_.push_back({raw.index, raw.style, raw.prefix, raw.start});
        }
        if (depth >= maxLabelDepth) continue;
        pdf_obj* kids = entry(context_, node, "Kids");
        for (int i = arrayLength(context_, kids) - 1; i >= 0; --i) {
            pending.emplace_back(arrayItem(context_, kids, i), depth + 1);
        }
    }
    std::stable_sort(labels_.begin(), labels_.end(), [](const LabelRange& a, const LabelRange& b) {
        return a.firstIndex < b.firstIndex;
    });
}

std::string PdfViewerDocument::pageLabel(int index) {
    auto range = std::upper_bound(labels_.begin(), labels_.end(), index,
                                  [](int i, const LabelRange& r) { return i < r.firstIndex; });
    if (range == labels_.begin()) return std::to_string(index + 1);
    --range;
    return range->prefix +
           formatPageLabelNumber(range->style, range->start + index - range->firstIndex);
}

std::optional<PageSize> PdfViewerDocument::pageSize(int index) {
    if (index < 0 || index >= pageCount_) return std::nullopt;
    std::lock_guard lock(mutex_);
    fz_page* page = loadPage(context_, document_, index);
    if (!page) return std::nullopt;
    fz_rect bounds = fz_empty_rect;
    fz_try(context_) {
        bounds = fz_bound_page(context_, page);
    }
    fz_catch(context_) {
        bounds = fz_empty_rect;
    }
    fz_drop_page(context_, page);
    if (fz_is_empty_rect(bounds)) return std::nullopt;
    return PageSize{bounds.x1 - bounds.x0, bounds.y1 - bounds.y0};
}

std::optional<RgbImage> PdfViewerDocument::render(int index, double zoom) {
    if (index < 0 || index >= pageCount_ || !(zoom > 0)) return std::nullopt;
    std::lock_guard lock(mutex_);
    fz_page* page = loadPage(context_, document_, index);
    if (!page) return std::nullopt;
    fz_pixmap* pixmap = nullptr;
    fz_device* device = nullptr;
    fz_var(pixmap);
    fz_var(device);
    fz_var(zoom);
    fz_try(context_) {
        const fz_rect bounds = fz_bound_page(context_, page);
        const double area = (bounds.x1 - bounds.x0) * (bounds.y1 - bounds.y0) * zoom * zoom;
        if (area > maxRenderPixels) zoom *= std::sqrt(maxRenderPixels / area);
        const fz_matrix transform = fz_scale(static_cast<float>(zoom), static_cast<float>(zoom));
        const fz_irect box = fz_round_rect(fz_transform_rect(bounds, transform));
        pixmap = fz_new_pixmap_with_bbox(context_, fz_device_rgb(context_), box, nullptr, 0);
        fz_clear_pixmap_with_value(context_, pixmap, 255);
        device = fz_new_draw_device(context_, fz_identity, pixmap);
        fz_run_page(context_, page, device, transform, nullptr);
        fz_close_device(context_, device);
    }
    fz_always(context_) {
        fz_drop_device(context_, device);
    }
    fz_catch(context_) {
        fz_drop_pixmap(context_, pixmap);
        pixmap = nullptr;
    }
    fz_drop_page(context_, page);
    if (!pixmap) return std::nullopt;
    RgbImage image;
    image.width = fz_pixmap_width(context_, pixmap);
    image.height = fz_pixmap_height(context_, pixmap);
    const auto stride = static_cast<size_t>(fz_pixmap_stride(context_, pixmap));
    const auto row = static_cast<size_t>(image.width) * 3;
    const unsigned char* samples = fz_pixmap_samples(context_, pixmap);
    image.pixels.resize(row * static_cast<size_t>(image.height));
    for (int y = 0; y < image.height; ++y) {
        std::memcpy(image.pixels.data() + row * static_cast<size_t>(y),
                    samples + stride * static_cast<size_t>(y), row);
    }
    fz_drop_pixmap(context_, pixmap);
    return image;
}

std::string PdfViewerDocument::pageText(int index) {
    if (index < 0 || index >= pageCount_) return {};
    std::lock_guard lock(mutex_);
    fz_page* page = loadPage(context_, document_, index);
    if (!page) return {};
    fz_stext_page* text = textOf(context_, page);
    std::string out;
    if (text) {
        for (fz_stext_block* block = text->first_block; block; block = block->next) {
            if (block->type != FZ_STEXT_BLOCK_TEXT) continue;
            for (fz_stext_line* line = block->u.t.first_line; line; line = line->next) {
                if (!out.empty()) out += '\n';
                for (fz_stext_char* ch = line->first_char; ch; ch = ch->next) {
                    char utf8[FZ_UTFMAX];
                    out.append(utf8, static_cast<size_t>(fz_runetochar(utf8, ch->c)));
                }
            }
        }
    }
    fz_drop_stext_page(context_, text);
    fz_drop_page(context_, page);
    return out;
}

std::vector<PageHit> PdfViewerDocument::search(int index, std::string_view needle) {
    std::lock_guard lock(mutex_);
    return searchLocked(index, needle, maxHitQuads);
}

std::vector<PageHit> PdfViewerDocument::searchLocked(int index, std::string_view needle,
                                                     int maxQuads) {
    std::vector<PageHit> hits;
    if (index < 0 || index >= pageCount_ || needle.empty()) return hits;
    fz_page* page = loadPage(context_, document_, index);
    if (!page) return hits;
    fz_stext_page* text = textOf(context_, page);
    const std::string terminated(needle);
    std::vector<fz_quad> quads(static_cast<size_t>(maxQuads));
    std::vector<int> marks(static_cast<size_t>(maxQuads));
    int count = 0;
    fz_var(count);
    if (text) {
        fz_try(context_) {
            count = fz_search_stext_page(context_, text, terminated.c_str(), marks.data(),
                                         quads.data(), maxQuads);
        }
        fz_catch(context_) {
            count = 0;
        }
    }
    fz_drop_stext_page(context_, text);
    fz_drop_page(context_, page);
    // Each hit's first quad is marked; the quads that follow it, up to the
    // next mark, are its further lines.
    for (int i = 0; i < count; ++i) {
        if (marks[static_cast<size_t>(i)] || hits.empty()) hits.push_back({index, {}});
        hits.back().lines.push_back(rectOf(quads[static_cast<size_t>(i)]));
    }
    return hits;
}

void PdfViewerDocument::searchDocument(std::string_view needle,
                                       const std::function<bool(const PageHit&)>& found) {
    for (int index = 0; index < pageCount_; ++index) {
        std::vector<PageHit> hits;
        {
            std::lock_guard lock(mutex_);
            hits = searchLocked(index, needle, maxHitQuads);
        }
        for (const PageHit& hit : hits) {
            if (!found(hit)) return;
        }
    }
}

std::vector<PageRect> PdfViewerDocument::locatePassage(int index, std::string_view text) {
    std::vector<PageRect> rects;
    std::lock_guard lock(mutex_);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
            line.remove_suffix(1);
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.front())))
            line.remove_prefix(1);
        if (!line.empty()) {
            const std::vector<PageHit> hits = searchLocked(index, line, maxHitQuads);
            if (!hits.empty()) {
                for (const PageRect& rect : hits.front().lines) {
                    if (std::find(rects.begin(), rects.end(), rect) == rects.end())
                        rects.push_back(rect);
                }
            }
        }
        start = end + 1;
    }
    return rects;
}

}  // namespace folvane
