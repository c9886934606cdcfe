#include <algorithm>
#include <exception>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/Embedders.h"
#include "SimilaritySearchKit/EmbeddingModelLoadError.h"
#include "documents/ChatIndexer.h"
#include "documents/DocumentIntake.h"
#include "store/DocumentStore.h"

// The operations of ChatIndexer that change which documents a chat has, or
// process one of them again.

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

void ChatIndexer::setDocumentModel(int64_t bookmarkId, const std::string& embeddingModel) {
    for (auto& document : state_.documents) {
        if (document.bookmark.id == bookmarkId) document.embeddingModel = embeddingModel;
    }
}

void ChatIndexer::reembedWithLocalModel(int64_t bookmarkId) {
    if (!embedders_.localModelInstalled()) return;
    {
        std::lock_guard lock(mutex_);
        const auto found =
            std::find_if(state_.documents.begin(), state_.documents.end(),
                         [&](const DocumentInfo& d) { return d.bookmark.id == bookmarkId; });
        if (found == state_.documents.end()) return;
        if (found->embeddingModel == rawValue(EmbeddingModelType::distilbert)) return;
    }
    startRebuild(bookmarkId, false, true);
}

void ChatIndexer::switchToLocalModel() {
    auto model = embedders_.local();
    if (embedders_.localType() != EmbeddingModelType::distilbert) {
        throw EmbeddingModelLoadError(
            "The local model could not be loaded; the document keeps its index.");
    }
    std::lock_guard lock(mutex_);
    if (!localIndex_ || localModel_ == model) return;
    // Queries of the local index are encoded by its model: the index is made
    // again on the new one, with the items the old one held.
    auto index = std::make_shared<SimilarityIndex>(localIndexName, model,
                                                   std::make_shared<CosineSimilarity>());
    index->addItems(localIndex_->indexItems());
    localIndex_ = std::move(index);
    localModel_ = std::move(model);
}

bool ChatIndexer::startRebuild(int64_t bookmarkId, bool forceOCR, bool localModel) {
    const IndexingSettings settings = IndexingSettings::from(preferences_);
    Bookmark bookmark;
    {
        std::lock_guard lock(mutex_);
        auto found = std::find_if(bookmarks_.begin(), bookmarks_.end(),
                                  [&](const Bookmark& b) { return b.id == bookmarkId; });
        if (found == bookmarks_.end() || !localIndex_) return false;
        if (state_.loadingState == LoadingState::indexing ||
            state_.loadingState == LoadingState::indexingExtra) {
            return false;
        }
        if (bookmarks_.size() == 1) state_.loadingState = LoadingState::indexingExtra;
        bookmark = *found;
        setDocumentState(bookmarkId, IndexingState::indexing);
        publish();
    }
    startTask([this, settings, bookmark, forceOCR, localModel](std::stop_token stop) {
        IndexingState result = IndexingState::indexed;
        std::string reason;
        try {
            if (localModel) switchToLocalModel();
            if (processDocument(stop, settings, bookmark, 1, 1, forceOCR, true, localModel) ==
                Outcome::stopped) {
                // The old rows stay and answer as before.
                result = bookmark.indexingStatus == "indexed" ? IndexingState::indexed
                                                              : IndexingState::none;
            }
        } catch (const std::exception& error) {
            result = IndexingState::failed;
            reason = error.what();
        }
        std::lock_guard lock(mutex_);
        setDocumentState(bookmark.id, result, reason);
        state_.indexingProgress = 99;
        state_.loadingState = LoadingState::loaded;
        publish();
    });
    return true;
}

}  // namespace folvane
