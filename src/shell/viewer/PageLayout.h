#pragma once

#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <utility>
#include <vector>

#include "documents/PdfViewerDocument.h"

namespace folvane {

// Where the pages of a document stand in the viewer's scrolled content, in
// pixels: one column, each page centred, with a gap between pages and a margin
// around them. A zoom of 1 shows a point as one pixel.
class PageLayout {
  public:
    static constexpr int gap = 10;
    static constexpr int margin = 10;

    void setPages(std::vector<QSizeF> sizes);
    // Lays the pages out again for this zoom and the width of the viewport.
    void update(double zoom, int viewportWidth);

    int pageCount() const { return int(sizes_.size()); }
    double zoom() const { return zoom_; }
    QSize contentSize() const { return content_; }
    QSizeF pageSize(int index) const { return sizes_[size_t(index)]; }
    QRect pageRect(int index) const;
    // The zoom at which the widest page fills the viewport's width.
    double fitWidthZoom(int viewportWidth) const;

    // The page at content height y: the one it falls on, or the one after the
    // gap it falls in; the last page below the end.
    int pageAt(int y) const;
    // The first and last page that the band from top to bottom touches.
    std::pair<int, int> pagesBetween(int top, int bottom) const;

    // A rectangle on a page, in points, as content pixels.
    QRectF toContent(int index, const PageRect& rect) const;
    // A content point as a point on the page, in points.
    QPointF toPage(int index, QPointF content) const;

  private:
    std::vector<QSizeF> sizes_;
    std::vector<int> tops_;
    double zoom_ = 1;
    QSize content_;
};

}  // namespace folvane
