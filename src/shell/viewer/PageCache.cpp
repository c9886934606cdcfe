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

double PageCache::renderZoom(int page, double zoom) const {
    const auto size = document_->pageSize(page);
    if (!size) return zoom;
    const double pixels = size->width * size->height * zoom * zoom;
    if (pixels <= maxPagePixels) return zoom;
    return zoom * std::sqrt(maxPagePixels / pixels);
}

QImage PageCache::image(int page, double zoom) const {
    auto found = index_.find({page, zoom});
    return found == index_.end() ? QImage() : found->second->image;
}

QImage PageCache::anyImage(int page) const {
    for (const auto& entry : entries_)
        if (entry.key.first == page) return entry.image;
    return {};
}

void PageCache::want(const std::vector<int>& pages, double zoom) {
    std::vector<Key> missing;
    // The wanted pages that are cached become the most recently used.
    for (auto page = pages.rbegin(); page != pages.rend(); ++page) {
        const Key key{*page, zoom};
        if (auto found = index_.find(key); found != index_.end())
            entries_.splice(entries_.begin(), entries_, found->second);
    }
    for (int page : pages) {
        Key key{page, zoom};
        if (!index_.contains(key)) missing.push_back(key);
    }
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
        pool_.start([this, key, document = document_, wanted = wanted_] {
            RenderCancel cancel;
            {
                std::lock_guard lock(wanted->mutex);
                if (!wanted->keys.contains(key)) {
                    QMetaObject::invokeMethod(this, [this, key] { queued_.erase(key); });
                    return;
                }
                wanted->running[key] = &cancel;
            }
            auto rgb = document->render(key.first, renderZoom(key.first, key.second), &cancel);
            {
                std::lock_guard lock(wanted->mutex);
                wanted->running.erase(key);
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
                emit rendered(key.first);
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
