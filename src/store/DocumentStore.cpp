#include "store/DocumentStore.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace folvane {

DocumentStore::DocumentStore(std::shared_ptr<SqliteConnection> db)
    : db_(std::move(db)), bookmarks_(db_), embeddings_(db_), conversations_(db_) {}

std::vector<Bookmark> DocumentStore::bookmarks(const std::vector<int64_t>& ids) const {
    std::vector<Bookmark> rows = bookmarks_.getAll(ids);
    std::vector<Bookmark> ordered;
    for (int64_t id : ids) {
        auto row =
            std::find_if(rows.begin(), rows.end(), [&](const Bookmark& b) { return b.id == id; });
        if (row != rows.end()) ordered.push_back(*row);
    }
    return ordered;
}

std::optional<Bookmark> DocumentStore::bookmark(int64_t id) const {
    return bookmarks_.find(id);
}

std::optional<Bookmark> DocumentStore::findBookmark(const std::string& filePath,
                                                    const std::string& hash) const {
    return bookmarks_.find(filePath, hash);
}

int64_t DocumentStore::insertBookmark(const Bookmark& bookmark) const {
    return bookmarks_.insert(bookmark);
}

void DocumentStore::updateBookmarkData(int64_t id, const std::vector<uint8_t>& data,
                                       const std::string& hash) const {
    bookmarks_.updateData(id, data, hash);
}

void DocumentStore::setIndexingStatus(int64_t id, const std::string& status) const {
    bookmarks_.updateIndexingStatus(id, status);
}

std::vector<IndexItemExtra> DocumentStore::indexItems(int64_t bookmarkId) const {
    return embeddings_.getAll(bookmarkId);
}

void DocumentStore::replaceIndexItems(int64_t bookmarkId, const std::vector<IndexItem>& items,
                                      const std::string& embeddingModel) const {
    std::vector<Embedding> rows;
    rows.reserve(items.size());
    for (const auto& item : items) {
        rows.push_back(Embedding{std::nullopt, item, bookmarkId, embeddingModel});
    }
    db_->transaction([&] {
        embeddings_.remove(bookmarkId);
        embeddings_.insertRows(rows);
        bookmarks_.updateIndexingStatus(bookmarkId, "indexed");
    });
}

std::optional<IndexingClaim> DocumentStore::tryClaimIndexing(int64_t bookmarkId) const {
    const std::string path = db_->path();
    if (path.empty() || path == ":memory:") return IndexingClaim();
    return IndexingClaim::tryClaim(path + "-indexing-" + std::to_string(bookmarkId) + ".lock");
}

std::optional<IndexingClaim> DocumentStore::claimIndexing(int64_t bookmarkId,
                                                          std::stop_token stop) const {
    std::mutex mutex;
    std::condition_variable_any woken;
    while (!stop.stop_requested()) {
        if (auto claim = tryClaimIndexing(bookmarkId)) return claim;
        // The holder is another process: look again a little later.
        std::unique_lock lock(mutex);
        woken.wait_for(lock, stop, std::chrono::milliseconds(100), [] { return false; });
    }
    return std::nullopt;
}

void DocumentStore::addToChat(int64_t conversationId, int64_t bookmarkId) const {
    conversations_.addExtraBookmark(conversationId, bookmarkId);
}

void DocumentStore::removeFromChat(int64_t conversationId, int64_t bookmarkId) const {
    conversations_.removeExtraBookmark(conversationId, bookmarkId);
}

void DocumentStore::touchChat(int64_t conversationId, Date date) const {
    conversations_.updateUpdatedAt(conversationId, date);
}

}  // namespace folvane
