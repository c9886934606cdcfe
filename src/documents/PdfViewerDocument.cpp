#include "documents/PdfViewerDocument.h"

#include "documents/DocumentError.h"
#include "documents/MupdfContext.h"
#include "documents/PdfDocument.h"
#include "documents/PdfPageOcr.h"
#include "documents/PdfPageRenderer.h"
#include "documents/PdfPageText.h"
#include "documents/PdfTextLayout.h"

extern "C" {
#include <mupdf/fitz.h>
#include <mupdf/pdf.h>
}

#include <algorithm>
#include <cctype>
#include <cmath>

namespace folvane {

// As in PdfDocument: the blocks between fz_try and fz_catch hold only plain C
// values, since MuPDF leaves them by longjmp.

namespace {

std::string quotedName(const std::filesystem::path& path) {
    return "“" + path.filename().string() + "”";
}

// The most hits of one search on one page; a longer list is cut.
constexpr int maxHitQuads = 4096;

PageRect rectOf(const fz_quad& quad) {
    const fz_rect rect = fz_rect_from_quad(quad);
    return {rect.x0, rect.y0, rect.x1, rect.y1};
}

std::vector<PageHit> searchText(fz_context* context, fz_stext_page* text, int index,
                                const std::string& needle) {
    std::vector<PageHit> hits;
    if (!text || needle.empty()) return hits;
    std::vector<fz_quad> quads(static_cast<size_t>(maxHitQuads));
    std::vector<int> marks(static_cast<size_t>(maxHitQuads));
    int count = 0;
    fz_var(count);
    fz_try(context) {
        count = fz_search_stext_page(context, text, needle.c_str(), marks.data(), quads.data(),
                                     maxHitQuads);
    }
    fz_catch(context) {
        count = 0;
    }
    // Each hit's first quad is marked; the quads that follow it, up to the
    // next mark, are its further lines.
    for (int i = 0; i < count; ++i) {
        if (marks[static_cast<size_t>(i)] || hits.empty()) hits.push_back({index, {}});
        hits.back().lines.push_back(rectOf(quads[static_cast<size_t>(i)]));
    }
    return hits;
}

std::string_view trimmed(std::string_view line) {
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
        line.remove_suffix(1);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.front())))
        line.remove_prefix(1);
    return line;
}

RgbImage rgbOf(DrawnPixels&& drawn) {
    return {drawn.width, drawn.height, std::move(drawn.samples)};
}

}  // namespace

std::unique_ptr<PdfViewerDocument> PdfViewerDocument::open(const std::filesystem::path& path) {
    // Missing, unreadable, no PDF, encrypted: said in the words of intake.
    PdfDocument::checkAdmissible(path);
    std::unique_ptr<MupdfContext> mupdf;
    try {
        mupdf = std::make_unique<MupdfContext>();
    } catch (const std::bad_alloc&) {
        throw DocumentError("Not enough memory to open " + quotedName(path) + ".");
    }
    fz_context* context = mupdf->get();
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
        throw DocumentError(quotedName(path) + " is damaged and cannot be read as a PDF.");
    }
    auto opened = std::unique_ptr<PdfViewerDocument>(
        new PdfViewerDocument(std::move(mupdf), document, pages));
    opened->labels_ = PdfPageLabels::read(context, document, pages);
    return opened;
}

PdfViewerDocument::PdfViewerDocument(std::unique_ptr<MupdfContext> context, pdf_document* document,
                                     int pageCount)
    : mupdf_(std::move(context)),
      document_(document),
      pageCount_(pageCount),
      ocr_(std::make_unique<PdfPageOcr>()) {}

PdfViewerDocument::~PdfViewerDocument() {
    for (const Recorded& page : recorded_) fz_drop_display_list(mupdf_->get(), page.list);
    pdf_drop_document(mupdf_->get(), document_);
}

std::string PdfViewerDocument::pageLabel(int index) {
    return labels_.label(index);
}

std::optional<PageSize> PdfViewerDocument::pageSize(int index) {
    if (index < 0 || index >= pageCount_) return std::nullopt;
    std::lock_guard lock(mutex_);
    fz_context* context = mupdf_->get();
    fz_page* page = loadPdfPage(context, document_, index);
    if (!page) return std::nullopt;
    fz_rect bounds = fz_empty_rect;
    fz_try(context) {
        bounds = fz_bound_page(context, page);
    }
    fz_catch(context) {
        bounds = fz_empty_rect;
    }
    fz_drop_page(context, page);
    if (fz_is_empty_rect(bounds)) return std::nullopt;
    return PageSize{bounds.x1 - bounds.x0, bounds.y1 - bounds.y0};
}

PixelRect PdfViewerDocument::pagePixels(int index, double zoom) {
    const auto size = pageSize(index);
    if (!size || !(zoom > 0)) return {};
    const fz_rect bounds{0, 0, static_cast<float>(size->width), static_cast<float>(size->height)};
    const fz_irect box = fz_round_rect(
        fz_transform_rect(bounds, fz_scale(static_cast<float>(zoom), static_cast<float>(zoom))));
    return {0, 0, box.x1 - box.x0, box.y1 - box.y0};
}

fz_display_list* PdfViewerDocument::recordedPage(int index) {
    if (index < 0 || index >= pageCount_) return nullptr;
    std::lock_guard lock(mutex_);
    fz_context* context = mupdf_->get();
    auto known = std::find_if(recorded_.begin(), recorded_.end(),
                              [index](const Recorded& r) { return r.index == index; });
    if (known != recorded_.end()) {
        recorded_.splice(recorded_.begin(), recorded_, known);
        return fz_keep_display_list(context, known->list);
    }
    fz_page* page = loadPdfPage(context, document_, index);
    if (!page) return nullptr;
    fz_display_list* list = nullptr;
    fz_var(list);
    fz_try(context) {
        list = fz_new_display_list_from_page(context, page);
    }
    fz_catch(context) {
        list = nullptr;
    }
    fz_drop_page(context, page);
    if (!list) return nullptr;
    recorded_.push_front({index, list});
    if (recorded_.size() > cachedPages) {
        fz_drop_display_list(context, recorded_.back().list);
        recorded_.pop_back();
    }
    return fz_keep_display_list(context, list);
}

void PdfViewerDocument::dropList(fz_display_list* list) {
    // Dropping touches only the list's count, under MuPDF's allocation lock.
    MupdfContext::Clone clone(*mupdf_);
    fz_drop_display_list(clone ? clone.get() : mupdf_->get(), list);
}

std::optional<RgbImage> PdfViewerDocument::render(int index, double zoom) {
    return render(index, zoom, nullptr);
}

std::optional<RgbImage> PdfViewerDocument::render(int index, double zoom, RenderCancel* cancel) {
    if (!(zoom > 0)) return std::nullopt;
    const auto size = pageSize(index);
    if (!size) return std::nullopt;
    const double area = size->width * size->height * zoom * zoom;
    if (area > maxRenderPixels) zoom *= std::sqrt(maxRenderPixels / area) * 0.999;
    fz_display_list* list = recordedPage(index);
    if (!list) return std::nullopt;
    auto drawn = drawDisplayList(*mupdf_, list, zoom, std::nullopt, 3, maxRenderPixels, cancel);
    dropList(list);
    if (!drawn) return std::nullopt;
    return rgbOf(std::move(*drawn));
}

std::optional<RgbImage> PdfViewerDocument::renderTile(int index, double zoom, const PixelRect& tile,
                                                      RenderCancel* cancel) {
    fz_display_list* list = recordedPage(index);
    if (!list) return std::nullopt;
    auto drawn = drawDisplayList(*mupdf_, list, zoom, tile, 3, maxRenderPixels, cancel);
    dropList(list);
    if (!drawn) return std::nullopt;
    return rgbOf(std::move(*drawn));
}

std::optional<PageImage> PdfViewerDocument::renderGrey(int index, int resolution) {
    fz_display_list* list = recordedPage(index);
    if (!list) return std::nullopt;
    auto drawn = drawDisplayList(*mupdf_, list, resolution / 72.0, std::nullopt, 1, maxRenderPixels,
                                 nullptr);
    dropList(list);
    if (!drawn) return std::nullopt;
    return PageImage{drawn->width, drawn->height, resolution, std::move(drawn->samples)};
}

std::string PdfViewerDocument::pageText(int index) {
    if (index < 0 || index >= pageCount_) return {};
    std::string out;
    for (const TextLine& line : pageTextLayout(index)) {
        if (!out.empty()) out += '\n';
        out += line.text();
    }
    return out;
}

std::vector<TextLine> PdfViewerDocument::pageTextLayout(int index) {
    if (index < 0 || index >= pageCount_) return {};
    {
        std::lock_guard lock(mutex_);
        PdfPageText text(mupdf_->get(), document_, index);
        if (!text.loaded()) return {};
        if (text.hasText()) return text_layout::linesOf(mupdf_->get(), text.get());
    }
    return ocr_->lines(index, [&](int resolution) { return renderGrey(index, resolution); });
}

std::string PdfViewerDocument::textInSelection(int index, const PageRect& fromTo) {
    if (index < 0 || index >= pageCount_) return {};
    {
        std::lock_guard lock(mutex_);
        fz_context* context = mupdf_->get();
        PdfPageText text(context, document_, index);
        if (!text.loaded()) return {};
        if (text.hasText()) {
            char* copied = nullptr;
            fz_var(copied);
            const fz_point from{static_cast<float>(fromTo.x0), static_cast<float>(fromTo.y0)};
            const fz_point to{static_cast<float>(fromTo.x1), static_cast<float>(fromTo.y1)};
            fz_try(context) {
                copied = fz_copy_selection(context, text.get(), from, to, 0);
            }
            fz_catch(context) {
                copied = nullptr;
            }
            std::string out = copied ? copied : "";
            fz_free(context, copied);
            while (!out.empty() && out.back() == '\n') out.pop_back();
            return out;
        }
    }
    const auto lines =
        ocr_->lines(index, [&](int resolution) { return renderGrey(index, resolution); });
    return text_layout::between(lines, fromTo.x0, fromTo.y0, fromTo.x1, fromTo.y1);
}

std::vector<std::vector<PageHit>> PdfViewerDocument::searchLocked(
    int index, const std::vector<std::string>& needles, bool* textless) {
    std::vector<std::vector<PageHit>> hits(needles.size());
    PdfPageText text(mupdf_->get(), document_, index);
    *textless = text.loaded() && !text.hasText();
    if (*textless) return hits;
    for (size_t i = 0; i < needles.size(); ++i) {
        hits[i] = searchText(mupdf_->get(), text.get(), index, needles[i]);
    }
    return hits;
}

std::vector<std::vector<PageHit>> PdfViewerDocument::searchPage(
    int index, const std::vector<std::string>& needles) {
    if (index < 0 || index >= pageCount_) return std::vector<std::vector<PageHit>>(needles.size());
    bool textless = false;
    {
        std::lock_guard lock(mutex_);
        auto hits = searchLocked(index, needles, &textless);
        if (!textless) return hits;
    }
    // OCR runs without the document's lock, so that pages draw meanwhile.
    const auto lines =
        ocr_->lines(index, [&](int resolution) { return renderGrey(index, resolution); });
    std::vector<std::vector<PageHit>> hits;
    for (const std::string& needle : needles) {
        hits.push_back(text_layout::search(lines, needle, index));
    }
    return hits;
}

std::vector<PageHit> PdfViewerDocument::search(int index, std::string_view needle) {
    if (needle.empty()) return {};
    return searchPage(index, {std::string(needle)}).front();
}

void PdfViewerDocument::searchDocument(std::string_view needle,
                                       const std::function<bool(const PageHit&)>& found) {
    searchDocument(needle, found, SearchCancel{});
}

void PdfViewerDocument::searchDocument(std::string_view needle,
                                       const std::function<bool(const PageHit&)>& found,
                                       const SearchCancel& cancel) {
    if (needle.empty()) return;
    const std::vector<std::string> needles{std::string(needle)};
    for (int index = 0; index < pageCount_; ++index) {
        if (cancel.cancelled()) return;
        const auto hits = searchPage(index, needles);
        for (const PageHit& hit : hits.front()) {
            if (!found(hit)) return;
        }
    }
}

std::vector<PageRect> PdfViewerDocument::locatePassage(int index, std::string_view text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        const std::string_view line = trimmed(text.substr(start, end - start));
        if (!line.empty()) lines.emplace_back(line);
        start = end + 1;
    }
    std::vector<PageRect> rects;
    if (lines.empty()) return rects;
    for (const std::vector<PageHit>& hits : searchPage(index, lines)) {
        if (hits.empty()) continue;
        for (const PageRect& rect : hits.front().lines) {
            if (std::find(rects.begin(), rects.end(), rect) == rects.end()) rects.push_back(rect);
        }
    }
    return rects;
}

}  // namespace folvane
