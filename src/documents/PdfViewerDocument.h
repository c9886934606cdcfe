#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/PageGeometry.h"
#include "documents/PageImage.h"
#include "documents/PdfPageLabels.h"
#include "documents/RenderCancel.h"
#include "documents/SearchCancel.h"

struct fz_display_list;
struct pdf_document;

namespace folvane {

class MupdfContext;
class PdfPageOcr;

// A PDF as the viewer shows it, opened once: page sizes and labels, pages
// drawn at any zoom, and where text stands on a page. The text is MuPDF's
// structured text with the same options that extraction reads the page with,
// so a passage that came out of extraction is found where it was read. A page
// without any text is read by OCR when it is searched, and its recognised
// lines stand in for its text.
//
// Thread-safe. MuPDF lets one thread at a time use a document, so what reads
// the document holds its lock; drawing does not: a page is recorded once
// under the lock (the last pages recorded are kept) and drawn on the calling
// thread, so several threads draw pages at once.
class PdfViewerDocument {
  public:
    static constexpr double maxRenderPixels = 40'000'000;
    // How many recorded pages are kept, the least recently drawn dropped first.
    static constexpr size_t cachedPages = 16;

    // Throws FileError or DocumentError, in the words that intake uses, for a
    // file that cannot be shown.
    static std::unique_ptr<PdfViewerDocument> open(const std::filesystem::path& path);
    ~PdfViewerDocument();
    PdfViewerDocument(const PdfViewerDocument&) = delete;
    PdfViewerDocument& operator=(const PdfViewerDocument&) = delete;

    int pageCount() const { return pageCount_; }
    // The size of the page as shown; none for an index out of range or a page
    // that cannot be read.
    std::optional<PageSize> pageSize(int index);
    // The page's label from the catalogue's /PageLabels ("xii", "A-3"), or its
    // number from 1 when the document gives no label for it.
    std::string pageLabel(int index);

    // The pixels of the whole page drawn at zoom, as render() and renderTile()
    // round them: tiles that cover this cover the page. Empty for an index out
    // of range.
    PixelRect pagePixels(int index, double zoom);
    // The page drawn at zoom (1 = 72 pixels per inch) on white, reduced to stay
    // within maxRenderPixels; none for an index out of range, a page that
    // cannot be drawn, or a render cancelled meanwhile.
    std::optional<RgbImage> render(int index, double zoom);
    std::optional<RgbImage> render(int index, double zoom, RenderCancel* cancel);
    // A part of the page drawn at zoom: the pixels of tile (cut to the page),
    // not reduced; none when the tile is empty or larger than maxRenderPixels,
    // and as render() gives none.
    std::optional<RgbImage> renderTile(int index, double zoom, const PixelRect& tile,
                                       RenderCancel* cancel = nullptr);

    // The page's text, its lines separated by "\n".
    std::string pageText(int index);
    // The page's lines with each character's box, in reading order; an OCR
    // page's recognised lines when the page has no text.
    std::vector<TextLine> pageTextLayout(int index);
    // The text a mouse selection from (fromTo.x0, fromTo.y0) to (fromTo.x1,
    // fromTo.y1) copies: in reading order, lines separated by "\n".
    std::string textInSelection(int index, const PageRect& fromTo);

    // Every match of needle on the page, case-insensitively, in reading order.
    std::vector<PageHit> search(int index, std::string_view needle);
    // Every match of needle in the document, page by page; found(hit) is called
    // as each page's matches are found and returns false to stop the search.
    // A cancelled search stops before the next page.
    void searchDocument(std::string_view needle, const std::function<bool(const PageHit&)>& found);
    void searchDocument(std::string_view needle, const std::function<bool(const PageHit&)>& found,
                        const SearchCancel& cancel);
    // Where a cited passage stands on the page: each non-empty line of text is
    // looked for from the start of the page, case-insensitively; a line that
    // the page does not hold is skipped. One rectangle per line of the page
    // that a found line covers, in the order of the passage's lines.
    std::vector<PageRect> locatePassage(int index, std::string_view text);

  private:
    struct Recorded {
        int index = 0;
        fz_display_list* list = nullptr;
    };
    // A page's display list, kept for the caller (drop with dropList); made
    // under the lock when it is not cached.
    fz_display_list* recordedPage(int index);
    void dropList(fz_display_list* list);
    std::optional<PageImage> renderGrey(int index, int resolution);
    // The page's matches of each needle, by MuPDF's search; none of a page
    // without text, which sets *textless.
    std::vector<std::vector<PageHit>> searchLocked(int index,
                                                   const std::vector<std::string>& needles,
                                                   bool* textless);
    std::vector<std::vector<PageHit>> searchPage(int index,
                                                 const std::vector<std::string>& needles);

    PdfViewerDocument(std::unique_ptr<MupdfContext> context, pdf_document* document, int pageCount);

    std::unique_ptr<MupdfContext> mupdf_;
    std::mutex mutex_;
    pdf_document* document_;
    int pageCount_;
    PdfPageLabels labels_;
    std::list<Recorded> recorded_;  // most recently used first
    std::unique_ptr<PdfPageOcr> ocr_;
};

}  // namespace folvane
