#include <algorithm>
#include <exception>

#include "documents/ChatIndexer.h"
#include "documents/DocumentIntake.h"
#include "store/DocumentStore.h"

// The operations of ChatIndexer that change which documents a chat has.

namespace folvane {

void ChatIndexer::removeFromChat(int64_t bookmarkId) {
    std::lock_guard lock(mutex_);
    auto found = std::find_if(bookmarks_.begin(), bookmarks_.end(),
                              [&](const Bookmark& b) { return b.id == bookmarkId; });
    if (found == bookmarks_.end()) return;
    // Both reads and writes come first: a failure leaves the chat as it was.
    const std::vector<IndexItemExtra> rows =
        localIndex_ ? store_.indexItems(bookmarkId) : std::vector<IndexItemExtra>{};
    store_.removeFromChat(conversationId_, bookmarkId);
    for (const auto& row : rows) {
        if (auto index = routedIndex(row.embeddingModel)) index->removeItem(row.id);
    }
    bookmarks_.erase(found);
    std::erase_if(state_.documents,
                  [&](const DocumentInfo& d) { return d.bookmark.id == bookmarkId; });
    std::erase(extraBookmarkIds_, bookmarkId);
    state_.extraBookmarkIds = extraBookmarkIds_;
    publish();
}

void ChatIndexer::addDocuments(const std::vector<std::string>& fileUrls) {
    const IndexingSettings settings = IndexingSettings::from(preferences_);
    std::vector<Bookmark> toIndex;
    std::vector<Bookmark> indexed;
    {
        std::lock_guard lock(mutex_);
        if (state_.loadingState != LoadingState::loaded || !localIndex_) return;
        const DocumentIntake intake(store_);
        std::vector<Bookmark> added;
        for (const auto& url : fileUrls) {
            Bookmark bookmark = intake.findOrInsertBookmark(url);
            const auto inChat = [&](const Bookmark& b) { return b.id == bookmark.id; };
            if (std::any_of(bookmarks_.begin(), bookmarks_.end(), inChat) ||
                std::any_of(added.begin(), added.end(), inChat)) {
                continue;
            }
            added.push_back(std::move(bookmark));
        }
        for (const auto& bookmark : added) {
            store_.addToChat(conversationId_, bookmark.id);
            extraBookmarkIds_.push_back(bookmark.id);
            if (auto info = documentInfo(bookmark, IndexingState::indexing)) {
                state_.documents.push_back(std::move(*info));
            }
            bookmarks_.push_back(bookmark);
            (bookmark.indexingStatus == "indexed" ? indexed : toIndex).push_back(bookmark);
        }
        state_.extraBookmarkIds = extraBookmarkIds_;
        publish();
        if (toIndex.empty() && indexed.empty()) return;
    }
    startTask([this, settings, toIndex, indexed](std::stop_token stop) {
        runChain(stop, settings, toIndex, indexed, true);
    });
}

void ChatIndexer::updateBookmark(int64_t bookmarkId, const std::string& fileUrl) {
    std::lock_guard lock(mutex_);
    folvane::updateBookmark(store_, bookmarkId, fileUrl, state_.documents);
    for (auto& bookmark : bookmarks_) {
        if (bookmark.id != bookmarkId) continue;
        if (auto row = store_.bookmark(bookmarkId)) bookmark = *row;
    }
    publish();
}

}  // namespace folvane
