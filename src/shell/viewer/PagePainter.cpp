#include "shell/viewer/PagePainter.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace folvane {
namespace {

const QColor background(0x80, 0x80, 0x80);
// Yellow at alpha 0.8, multiplied over the page so that the text stays dark.
const QColor highlightColor(255, 255, 0, 204);
const QColor selectionColor(0, 110, 230, 90);

}  // namespace

QRect PagePainter::shownPixels(int page, const QRect& view, double scale) const {
    const QRect rect = layout_.pageRect(page);
    const QRect part = rect.intersected(view).translated(-rect.topLeft());
    return QRect(int(std::floor(part.x() * scale)), int(std::floor(part.y() * scale)),
                 int(std::ceil(part.width() * scale)), int(std::ceil(part.height() * scale)));
}

std::vector<PageCache::Key> PagePainter::shownKeys(int page, const QRect& view,
                                                   double scale) const {
    const double zoom = layout_.zoom() * scale;
    if (!cache_.isTiled(page, zoom)) return {{page, zoom, -1}};
    std::vector<PageCache::Key> keys;
    for (const auto& [key, pixels] : cache_.tilesIn(page, zoom, shownPixels(page, view, scale)))
        keys.push_back(key);
    return keys;
}

bool PagePainter::isDrawn(int page, const QRect& view, double scale) const {
    for (const auto& key : shownKeys(page, view, scale))
        if (cache_.image(key).isNull()) return false;
    return true;
}

void PagePainter::request(const QRect& view, double scale) {
    const auto [first, last] = layout_.pagesBetween(view.top(), view.bottom());
    const double zoom = layout_.zoom() * scale;
    // Of a tiled page, its tiles in view and then its smaller picture.
    std::vector<PageCache::Key> wanted;
    for (int page = first; page <= last; ++page)
        for (const auto& key : shownKeys(page, view, scale)) wanted.push_back(key);
    auto whole = [&](int page) {
        const bool tiled = cache_.isTiled(page, zoom);
        wanted.push_back({page, tiled ? cache_.backdropZoom(page, zoom) : zoom, -1});
    };
    for (int page = first; page <= last; ++page)
        if (cache_.isTiled(page, zoom)) whole(page);
    const auto [aheadFirst, aheadLast] =
        layout_.pagesBetween(view.top() - view.height(), view.bottom() + view.height());
    for (int page = last + 1; page <= aheadLast; ++page) whole(page);
    for (int page = first - 1; page >= aheadFirst; --page) whole(page);
    cache_.want(wanted);
}

void PagePainter::paint(QPainter& painter, const QRect& view, double scale,
                        const std::vector<PageMark>& highlights,
                        const std::vector<PageMark>& selection) {
    painter.fillRect(QRect(QPoint(), view.size()), background);
    if (layout_.pageCount() == 0) return;
    request(view, scale);
    const auto [first, last] = layout_.pagesBetween(view.top(), view.bottom());
    painter.save();
    painter.translate(-view.topLeft());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (int page = first; page <= last; ++page) {
        paintPage(painter, page, view, scale);
        painter.setCompositionMode(QPainter::CompositionMode_Multiply);
        for (const auto& mark : highlights)
            if (mark.page == page)
                painter.fillRect(layout_.toContent(page, mark.rect), highlightColor);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        for (const auto& mark : selection)
            if (mark.page == page)
                painter.fillRect(layout_.toContent(page, mark.rect), selectionColor);
    }
    painter.restore();
}

void PagePainter::paintPage(QPainter& painter, int page, const QRect& view, double scale) {
    const QRect rect = layout_.pageRect(page);
    painter.fillRect(rect, Qt::white);
    const double zoom = layout_.zoom() * scale;
    const bool tiled = cache_.isTiled(page, zoom);
    // The whole page, or under the tiles a smaller picture of it, or while
    // those are drawn whatever picture of the page there is, scaled.
    QImage whole = cache_.image({page, tiled ? cache_.backdropZoom(page, zoom) : zoom, -1});
    if (whole.isNull()) whole = cache_.anyImage(page);
    if (!whole.isNull()) painter.drawImage(QRectF(rect), whole);
    if (!tiled) return;
    const PixelRect all = document_.pagePixels(page, zoom);
    const double sx = rect.width() / double(std::max(1, all.x1 - all.x0));
    const double sy = rect.height() / double(std::max(1, all.y1 - all.y0));
    for (const auto& [key, pixels] : cache_.tilesIn(page, zoom, shownPixels(page, view, scale))) {
        const QImage tile = cache_.image(key);
        if (tile.isNull()) continue;
        painter.drawImage(
            QRectF(rect.x() + (pixels.x() - all.x0) * sx, rect.y() + (pixels.y() - all.y0) * sy,
                   pixels.width() * sx, pixels.height() * sy),
            tile);
    }
}

}  // namespace folvane
