#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct fz_context;
struct pdf_document;

namespace folvane {

// A rectangle on a page, in points, with the origin at the page's top left
// corner as the page is shown (its rotation applied).
struct PageRect {
    double x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    bool operator==(const PageRect&) const = default;
};

struct PageSize {
    double width = 0, height = 0;
};

// One match of a search: the rectangles it covers, one for each line of the page.
struct PageHit {
    int pageIndex = 0;
    std::vector<PageRect> lines;
};

// A page drawn in colour: 8-bit RGB, rows from the top, 3 * width bytes a row.
struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;
};

// A PDF as the viewer shows it, opened once: page sizes and labels, pages
// drawn at any zoom, and where text stands on a page. The text is MuPDF's
// structured text with the same options that extraction reads the page with,
// so a passage that came out of extraction is found where it was read.
//
// Thread-safe: MuPDF lets one thread at a time use a document, so every call
// holds the document's lock for as long as it runs.
class PdfViewerDocument {
  public:
    static constexpr double maxRenderPixels = 40'000'000;

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
    // The page drawn at zoom (1 = 72 pixels per inch) on white, reduced to stay
    // within maxRenderPixels; none for an index out of range or a page that
    // cannot be drawn.
    std::optional<RgbImage> render(int index, double zoom);
    // The page's text, its lines separated by "\n".
    std::string pageText(int index);

    // Every match of needle on the page, case-insensitively, in reading order.
    std::vector<PageHit> search(int index, std::string_view needle);
    // Every match of needle in the document, page by page; found(hit) is called
    // as each page's matches are found and returns false to stop the search.
    void searchDocument(std::string_view needle, const std::function<bool(const PageHit&)>& found);
    // Where a cited passage stands on the page: each non-empty line of text is
    // looked for from the start of the page, case-insensitively; a line that
    // the page does not hold is skipped. One rectangle per line of the page
    // that a found line covers, in the order of the passage's lines.
    std::vector<PageRect> locatePassage(int index, std::string_view text);

  private:
    PdfViewerDocument(fz_context* context, pdf_document* document, int pageCount);
    void readPageLabels();
    std::vector<PageHit> searchLocked(int index, std::string_view needle, int maxHits);

    struct LabelRange {
        int firstIndex = 0;
        std::string style;  // "D", "R", "r", "A", "a" or empty: no number
        std::string prefix;
        int start = 1;
    };

    std::mutex mutex_;
    fz_context* context_;
    pdf_document* document_;
    int pageCount_;
    std::vector<LabelRange> labels_;
};

// The label of a page number in a /PageLabels style: "D" decimal, "R"/"r"
// Roman numerals, "A"/"a" letters (A..Z, AA..ZZ, ...), empty for none.
std::string formatPageLabelNumber(const std::string& style, int number);

}  // namespace folvane
