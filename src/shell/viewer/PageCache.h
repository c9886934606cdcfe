#pragma once

#include <QImage>
#include <QObject>
#include <QThreadPool>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "documents/RenderCancel.h"

namespace folvane {

class PdfViewerDocument;

// Pages drawn at a zoom, made on worker threads and kept in a cache of fixed
// size in bytes, the least recently used going first. A request that is no
// longer wanted is dropped before a worker reaches it, or stopped while it is
// drawn.
class PageCache final : public QObject {
    Q_OBJECT
  public:
    // The most pixels one page is drawn with; above it the view scales up.
    static constexpr double maxPagePixels = 12'000'000;

    PageCache(std::shared_ptr<PdfViewerDocument> document, int64_t budgetBytes,
              QObject* parent = nullptr);
    // Drops what is queued and waits for the page being drawn.
    ~PageCache() override;

    // The page at exactly this zoom, or a null image.
    QImage image(int page, double zoom) const;
    // The page at the zoom drawn last for it, for showing scaled while the
    // right one is drawn; a null image when none is cached.
    QImage anyImage(int page) const;
    // The pages wanted now at this zoom: those not cached are queued, in this
    // order, and queued ones not among them are dropped.
    void want(const std::vector<int>& pages, double zoom);

    int64_t bytes() const { return bytes_; }
    // The zoom a page is drawn at for a shown zoom: within maxPagePixels.
    double renderZoom(int page, double zoom) const;

  signals:
    void rendered(int page);

  private:
    using Key = std::pair<int, double>;
    struct Entry {
        Key key;
        QImage image;
    };

    void store(Key key, QImage image);

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
        // The renders under way, stopped when their page is wanted no more.
        std::map<Key, RenderCancel*> running;
    };
    std::shared_ptr<Wanted> wanted_ = std::make_shared<Wanted>();
    QThreadPool pool_;
};

}  // namespace folvane
