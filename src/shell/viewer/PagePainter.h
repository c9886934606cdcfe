#pragma once

#include <QRect>
#include <vector>

#include "documents/PdfViewerDocument.h"
#include "shell/viewer/PageCache.h"
#include "shell/viewer/PageLayout.h"

class QPainter;

namespace folvane {

// A rectangle marked on a page: a highlight or a line of the selection.
struct PageMark {
    int page = 0;
    PageRect rect;
};

// Draws the pages that show in a view from the cache and asks the cache for
// what is missing: what shows first, then a screen ahead below and above.
// `view` is the part of the laid-out content in view; `scale` the device
// pixels of a layout pixel.
class PagePainter {
  public:
    PagePainter(PdfViewerDocument& document, const PageLayout& layout, PageCache& cache)
        : document_(document), layout_(layout), cache_(cache) {}

    void paint(QPainter& painter, const QRect& view, double scale,
               const std::vector<PageMark>& highlights, const std::vector<PageMark>& selection);
    // Whether all that shows of the page is drawn.
    bool isDrawn(int page, const QRect& view, double scale) const;

  private:
    // The part of the page in view, in its pixels at the drawn zoom.
    QRect shownPixels(int page, const QRect& view, double scale) const;
    // The pictures that make up what shows of the page: the whole page, or
    // the tiles in view.
    std::vector<PageCache::Key> shownKeys(int page, const QRect& view, double scale) const;
    void request(const QRect& view, double scale);
    void paintPage(QPainter& painter, int page, const QRect& view, double scale);

    PdfViewerDocument& document_;
    const PageLayout& layout_;
    PageCache& cache_;
};

}  // namespace folvane
