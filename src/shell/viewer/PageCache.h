#pragma once

#include <QImage>
#include <QObject>
#include <QRect>
#include <QThreadPool>
#include <compare>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "documents/RenderCancel.h"

namespace folvane {

class PdfViewerDocument;

// Pages drawn at a zoom, made on worker threads and kept in a cache of fixed
// size in bytes, the least recently used going first. A page that would be
// large at its zoom is drawn in square tiles, only those that show, over a
// smaller picture of the whole page. A request that is no longer wanted is
// dropped before a worker reaches it, or stopped while it is drawn.
class PageCache final : public QObject {
    Q_OBJECT
  public:
    // Above this many pixels a page is drawn in tiles.
    static constexpr double tiledPagePixels = 4'000'000;
    static constexpr int tileSize = 512;
    // The picture under the tiles of a large page.
    static constexpr double backdropPixels = 2'000'000;

    // A whole page (tile -1) or one of its tiles, at a zoom (render pixels
    // per point).
    struct Key {
        int page = 0;
        double zoom = 1;
        int tile = -1;
        auto operator<=>(const Key&) const = default;
    };

    PageCache(std::shared_ptr<PdfViewerDocument> document, int64_t budgetBytes,
              QObject* parent = nullptr);
    // Drops what is queued, stops what is drawn and waits for it.
    ~PageCache() override;

    // The picture of the key, or a null image.
    QImage image(const Key& key) const;
    // The whole page at the zoom drawn last for it, for showing scaled while
    // the right one is drawn; a null image when none is cached.
    QImage anyImage(int page) const;
    // What is wanted now, most urgent first: those not cached are queued in
    // this order, and queued or running ones not among them are dropped.
    void want(const std::vector<Key>& keys);

    // Whether the page is drawn in tiles at this zoom.
    bool isTiled(int page, double zoom) const;
    // The zoom of the whole picture under a tiled page.
    double backdropZoom(int page, double zoom) const;
    // The tiles of the page at zoom that the part `pixels` (page pixels at
    // that zoom) touches, and where each tile stands in page pixels.
    std::vector<std::pair<Key, QRect>> tilesIn(int page, double zoom, const QRect& pixels) const;
    int64_t bytes() const { return bytes_; }

  signals:
    void rendered(int page);

  private:
    struct Entry {
        Key key;
        QImage image;
    };

    void store(Key key, QImage image);
    QRect tileRect(int page, double zoom, int tile) const;

    std::shared_ptr<PdfViewerDocument> document_;
    int64_t budget_;
    int64_t bytes_ = 0;
    std::list<Entry> entries_;  // most recently used first
    std::map<Key, std::list<Entry>::iterator> index_;
    std::set<Key> queued_;
    // What the workers may still draw; shared with them.
    struct Wanted {
        std::mutex mutex;
        std::set<Key> keys;
        // The renders under way, stopped when they are wanted no more.
        std::map<Key, RenderCancel*> running;
    };
    std::shared_ptr<Wanted> wanted_ = std::make_shared<Wanted>();
    QThreadPool pool_;
};

}  // namespace folvane
