#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "store/Bookmark.h"
#include "store/BookmarkModel.h"
#include "store/ConversationTable.h"
#include "store/Date.h"
#include "store/Embedding.h"
#include "store/EmbeddingModel.h"
#include "store/IndexingClaim.h"
#include "store/SqliteConnection.h"

namespace folvane {

// What the document road keeps: the known documents (bookmarks), their index
// rows, and which chats they belong to. Every failure throws DatabaseError.
class DocumentStore {
  public:
    explicit DocumentStore(std::shared_ptr<SqliteConnection> db);

    // The bookmarks with these ids, in the order of the ids; ids without a
    // row are left out.
    std::vector<Bookmark> bookmarks(const std::vector<int64_t>& ids) const;
    std::optional<Bookmark> bookmark(int64_t id) const;
    std::optional<Bookmark> findBookmark(const std::string& filePath,
                                         const std::string& hash) const;
    int64_t insertBookmark(const Bookmark& bookmark) const;
    void updateBookmarkData(int64_t id, const std::vector<uint8_t>& data,
                            const std::string& hash) const;
    void setIndexingStatus(int64_t id, const std::string& status) const;

    // The document's rows in row order.
    std::vector<IndexItemExtra> indexItems(int64_t bookmarkId) const;
    // Swaps the document's rows for these, named after the model that made
    // them, and marks it "indexed", all in one transaction: until it commits
    // the old rows stay, and after it there is no trace of them.
    void replaceIndexItems(int64_t bookmarkId, const std::vector<IndexItem>& items,
                           const std::string& embeddingModel) const;

    // The right to index the document, for this caller alone across every
    // process on this database; none while another holds it.
    std::optional<IndexingClaim> tryClaimIndexing(int64_t bookmarkId) const;
    // The same, waiting for the holder to finish; none when `stop` is requested
    // first.
    std::optional<IndexingClaim> claimIndexing(int64_t bookmarkId, std::stop_token stop) const;

    // A chat's documents beyond its first one, and the chat's last change.
    void addToChat(int64_t conversationId, int64_t bookmarkId) const;
    void removeFromChat(int64_t conversationId, int64_t bookmarkId) const;
    void touchChat(int64_t conversationId, Date date) const;

  private:
    std::shared_ptr<SqliteConnection> db_;
    BookmarkModel bookmarks_;
    EmbeddingModel embeddings_;
    ConversationTable conversations_;
};

}  // namespace folvane
