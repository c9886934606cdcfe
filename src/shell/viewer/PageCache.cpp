#include "shell/viewer/PageCache.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "documents/PdfViewerDocument.h"

namespace folvane {
namespace {

QImage toImage(const RgbImage& rgb) {
    QImage image(rgb.width, rgb.height, QImage::Format_RGB888);
    const size_t row = size_t(rgb.width) * 3;
    for (int y = 0; y < rgb.height; ++y)
        std::memcpy(image.scanLine(y), rgb.pixels.data() + row * size_t(y), row);
    return image;
}

QRect toQRect(const PixelRect& rect) {
    return {rect.x0, rect.y0, rect.x1 - rect.x0, rect.y1 - rect.y0};
}

}  // namespace

PageCache::PageCache(std::shared_ptr<PdfViewerDocument> document, int64_t budgetBytes,
                     QObject* parent)
    : QObject(parent), document_(std::move(document)), budget_(budgetBytes) {
    // Pages are drawn outside the document's lock: two at a time.
    pool_.setMaxThreadCount(2);
}

PageCache::~PageCache() {
    {
        std::lock_guard lock(wanted_->mutex);
        wanted_->keys.clear();
        for (auto& [key, cancel] : wanted_->running) cancel->cancel();
    }
    pool_.clear();
    pool_.waitForDone();
}

bool PageCache::isTiled(int page, double zoom) const {
    const QRect pixels = toQRect(document_->pagePixels(page, zoom));
    return double(pixels.width()) * pixels.height() > tiledPagePixels;
}

double PageCache::backdropZoom(int page, double zoom) const {
    const QRect pixels = toQRect(document_->pagePixels(page, zoom));
    const double area = double(pixels.width()) * pixels.height();
    if (area <= backdropPixels) return zoom;
    return zoom * std::sqrt(backdropPixels / area);
}

QRect PageCache::tileRect(int page, double zoom, int tile) const {
    const QRect pixels = toQRect(document_->pagePixels(page, zoom));
    const int columns = (pixels.width() + tileSize - 1) / tileSize;
    const int column = tile % columns, row = tile / columns;
    return QRect(pixels.x() + column * tileSize, pixels.y() + row * tileSize, tileSize, tileSize)
        .intersected(pixels);
}

std::vector<std::pair<PageCache::Key, QRect>> PageCache::tilesIn(int page, double zoom,
                                                                 const QRect& part) const {
    const QRect pixels = toQRect(document_->pagePixels(page, zoom));
    const QRect shown = part.intersected(pixels);
    std::vector<std::pair<Key, QRect>> tiles;
    if (shown.isEmpty()) return tiles;
    const int columns = (pixels.width() + tileSize - 1) / tileSize;
    const int left = (shown.left() - pixels.x()) / tileSize;
    const int right = (shown.right() - pixels.x()) / tileSize;
    const int top = (shown.top() - pixels.y()) / tileSize;
    const int bottom = (shown.bottom() - pixels.y()) / tileSize;
    for (int row = top; row <= bottom; ++row) {
        for (int column = left; column <= right; ++column) {
            const int tile = row * columns + column;
            tiles.emplace_back(Key{page, zoom, tile}, tileRect(page, zoom, tile));
        }
    }
    return tiles;
}

QImage PageCache::image(const Key& key) const {
    auto found = index_.find(key);
    return found == index_.end() ? QImage() : found->second->image;
}

QImage PageCache::anyImage(int page) const {
    for (const auto& entry : entries_)
        if (entry.key.page == page && entry.key.tile < 0) return entry.image;
    return {};
}

void PageCache::want(const std::vector<Key>& keys) {
    // The wanted keys that are cached become the most recently used.
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        if (auto found = index_.find(*key); found != index_.end())
            entries_.splice(entries_.begin(), entries_, found->second);
    }
    std::vector<Key> missing;
    for (const Key& key : keys)
        if (!index_.contains(key)) missing.push_back(key);
    {
        std::lock_guard lock(wanted_->mutex);
        wanted_->keys = {missing.begin(), missing.end()};
        for (auto& [key, cancel] : wanted_->running)
            if (!wanted_->keys.contains(key)) cancel->cancel();
    }
    // Queued keys that are wanted no more are skipped by their worker.
    std::erase_if(queued_, [&](const Key& key) {
        return std::find(missing.begin(), missing.end(), key) == missing.end();
    });
    for (const Key& key : missing) {
        if (!queued_.insert(key).second) continue;
        const QRect tile = key.tile < 0 ? QRect() : tileRect(key.page, key.zoom, key.tile);
        pool_.start([this, key, tile, document = document_, wanted = wanted_] {
            RenderCancel cancel;
            {
                std::lock_guard lock(wanted->mutex);
                if (!wanted->keys.contains(key)) {
                    QMetaObject::invokeMethod(this, [this, key] { queued_.erase(key); });
                    return;
                }
                wanted->running[key] = &cancel;
            }
            const PixelRect pixels{tile.left(), tile.top(), tile.right() + 1, tile.bottom() + 1};
            auto rgb = key.tile < 0 ? document->render(key.page, key.zoom, &cancel)
                                    : document->renderTile(key.page, key.zoom, pixels, &cancel);
            {
                std::lock_guard lock(wanted->mutex);
                auto running = wanted->running.find(key);
                if (running != wanted->running.end() && running->second == &cancel)
                    wanted->running.erase(running);
            }
            QImage image = rgb ? toImage(*rgb) : QImage();
            QMetaObject::invokeMethod(this, [this, key, image = std::move(image)]() mutable {
                queued_.erase(key);
                {
                    std::lock_guard lock(wanted_->mutex);
                    wanted_->keys.erase(key);
                }
                if (image.isNull()) return;
                store(key, std::move(image));
                emit rendered(key.page);
            });
        });
    }
}

void PageCache::store(Key key, QImage image) {
    if (auto found = index_.find(key); found != index_.end()) {
        bytes_ -= found->second->image.sizeInBytes();
        entries_.erase(found->second);
        index_.erase(found);
    }
    bytes_ += image.sizeInBytes();
    entries_.push_front({key, std::move(image)});
    index_[key] = entries_.begin();
    // The newest stays even when it alone is over the budget.
    while (bytes_ > budget_ && entries_.size() > 1) {
        bytes_ -= entries_.back().image.sizeInBytes();
        index_.erase(entries_.back().key);
        entries_.pop_back();
    }
}

}  // namespace folvane
