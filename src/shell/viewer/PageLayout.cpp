#include "shell/viewer/PageLayout.h"

#include <algorithm>
#include <cmath>

namespace folvane {

void PageLayout::setPages(std::vector<QSizeF> sizes) {
    sizes_ = std::move(sizes);
    tops_.assign(sizes_.size(), 0);
    content_ = {};
}

void PageLayout::update(double zoom, int viewportWidth) {
    zoom_ = zoom;
    int y = margin;
    int widest = 0;
    for (size_t i = 0; i < sizes_.size(); ++i) {
        tops_[i] = y;
        y += int(std::lround(sizes_[i].height() * zoom)) + gap;
        widest = std::max(widest, int(std::lround(sizes_[i].width() * zoom)));
    }
    const int height = sizes_.empty() ? 0 : y - gap + margin;
    content_ = QSize(std::max(viewportWidth, widest + 2 * margin), height);
}

QRect PageLayout::pageRect(int index) const {
    const QSizeF size = sizes_[size_t(index)];
    const int width = int(std::lround(size.width() * zoom_));
    const int height = int(std::lround(size.height() * zoom_));
    return {(content_.width() - width) / 2, tops_[size_t(index)], width, height};
}

double PageLayout::fitWidthZoom(int viewportWidth) const {
    double widest = 0;
    for (const auto& size : sizes_) widest = std::max(widest, size.width());
    if (widest <= 0) return 1;
    return std::max(1.0, double(viewportWidth - 2 * margin)) / widest;
}

int PageLayout::pageAt(int y) const {
    if (tops_.empty()) return -1;
    // The last page whose top is at or above y, unless y is in the gap below it.
    auto after = std::upper_bound(tops_.begin(), tops_.end(), y);
    if (after == tops_.begin()) return 0;
    const int index = int(after - tops_.begin()) - 1;
    if (index + 1 < pageCount() && y >= pageRect(index).bottom() + 1) return index + 1;
    return index;
}

std::pair<int, int> PageLayout::pagesBetween(int top, int bottom) const {
    if (tops_.empty()) return {0, -1};
    const int first = pageAt(top);
    auto after = std::upper_bound(tops_.begin(), tops_.end(), bottom);
    const int last = std::max(first, int(after - tops_.begin()) - 1);
    return {first, last};
}

QRectF PageLayout::toContent(int index, const PageRect& rect) const {
    const QRect page = pageRect(index);
    return {page.x() + rect.x0 * zoom_, page.y() + rect.y0 * zoom_, (rect.x1 - rect.x0) * zoom_,
            (rect.y1 - rect.y0) * zoom_};
}

QPointF PageLayout::toPage(int index, QPointF content) const {
    const QRect page = pageRect(index);
    return {(content.x() - page.x()) / zoom_, (content.y() - page.y()) / zoom_};
}

}  // namespace folvane
