#include <algorithm>
#include <exception>

#include "chat/ChatService.h"
#include "documents/ChatIndexer.h"
#include "documents/DocumentDigest.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"

// The operations of ChatIndexer that change which documents a chat has.

namespace folvane {

void ChatIndexer::removeFromChat(int64_t bookmarkId) {
    std::lock_guard lock(mutex_);
    auto found = std::find_if(bookmarks_.begin(), bookmarks_.end(),
                              [&](const Bookmark& b) { return b.id == bookmarkId; });
    if (found == bookmarks_.end() || !localIndex_) return;
    try {
        for (const auto& row : service_.getIndexItems(bookmarkId)) {
            if (auto index = routedIndex(row.embeddingModel)) index->removeItem(row.id);
        }
    } catch (const std::exception& error) {
        log(error.what());
    }
    bookmarks_.erase(found);
    std::erase_if(state_.documents,
                  [&](const DocumentInfo& d) { return d.bookmark.id == bookmarkId; });
    std::erase(extraBookmarkIds_, bookmarkId);
    state_.extraBookmarkIds = extraBookmarkIds_;
    try {
        service_.removeExtraBookmark(conversationId_, bookmarkId);
    } catch (const std::exception& error) {
        log(error.what());
    }
    publish();
}

void ChatIndexer::addDocuments(const std::vector<std::string>& fileUrls) {
    const IndexingSettings settings = IndexingSettings::from(preferences_);
    std::vector<Bookmark> toIndex;
    std::vector<Bookmark> indexed;
    {
        std::lock_guard lock(mutex_);
        if (state_.loadingState != LoadingState::loaded || !localIndex_) return;
        try {
            std::vector<Bookmark> added;
            for (const auto& url : fileUrls) {
                Bookmark bookmark = findOrInsertBookmark(url);
                const auto inChat = [&](const Bookmark& b) { return b.id == bookmark.id; };
                if (std::any_of(bookmarks_.begin(), bookmarks_.end(), inChat) ||
                    std::any_of(added.begin(), added.end(), inChat)) {
                    continue;
                }
                added.push_back(std::move(bookmark));
            }
            for (const auto& bookmark : added) {
                service_.addExtraBookmark(conversationId_, bookmark.id);
                extraBookmarkIds_.push_back(bookmark.id);
                if (auto info = documentInfo(bookmark, IndexingState::indexing)) {
                    state_.documents.push_back(std::move(*info));
                }
                bookmarks_.push_back(bookmark);
                (bookmark.indexingStatus == "indexed" ? indexed : toIndex).push_back(bookmark);
            }
            state_.extraBookmarkIds = extraBookmarkIds_;
            publish();
        } catch (const std::exception& error) {
            log(error.what());
            return;
        }
        if (toIndex.empty() && indexed.empty()) return;
    }
    startTask([this, settings, toIndex, indexed](std::stop_token stop) {
        runChain(stop, settings, toIndex, indexed, true);
    });
}

Bookmark ChatIndexer::findOrInsertBookmark(const std::string& fileUrl) {
    const auto path = pathFromFileUrl(fileUrl);
    if (!path) throw FileError("“" + fileUrl + "” is not a file on this computer");
    Bookmark bookmark;
    bookmark.data = FileBookmark::make(*path);
    bookmark.filePath = fileUrlFromPath(*path);
    bookmark.hash = documentDigest(*path);
    if (auto existing = service_.findBookmark(bookmark.filePath, bookmark.hash)) return *existing;
    bookmark.indexingStatus = "none";
    bookmark.id = service_.insertBookmark(bookmark);
    if (auto row = service_.getBookmark(bookmark.id)) return *row;
    return bookmark;
}

void ChatIndexer::updateBookmark(int64_t bookmarkId, const std::string& fileUrl) {
    std::lock_guard lock(mutex_);
    if (!folvane::updateBookmark(service_, bookmarkId, fileUrl, state_.documents)) return;
    for (auto& bookmark : bookmarks_) {
        if (bookmark.id != bookmarkId) continue;
        if (auto row = service_.getBookmark(bookmarkId)) bookmark = *row;
    }
    publish();
}

}  // namespace folvane
