#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "documents/IndexingState.h"
#include "store/Bookmark.h"

namespace folvane {

class DocumentStore;

// One document as open in a chat; lives as long as the chat's view model and is
// never stored.
struct DocumentInfo {
    static constexpr const char* movedOrDeletedMessage = "Your document has been moved or deleted.";

    std::string fileUrl;  // resolved from the access data, else the bookmark's filePath
    Bookmark bookmark;
    std::optional<uint64_t> fileSize;  // reserved; left absent
    bool isStale = false;              // the access data no longer reach the file for sure
    std::string errorMessage;          // empty, or the text of the document list
    // What the user should know of a document that was indexed all the same
    // (a damaged file whose readable pages were indexed), from its last
    // indexing in this session; empty when there is nothing to say.
    std::string warning;
    IndexingState indexingState = IndexingState::none;
    // The model that made the document's rows (the `embeddingModel` column),
    // once they are read or stored in this session; empty before.
    std::string embeddingModel;

    bool operator==(const DocumentInfo&) const = default;
};

// The document of a bookmark as a chat opens it. The state is `indexed` for a
// bookmark whose status is "indexed", else `notIndexedState`. Stale access data
// give the moved-or-deleted message; access data that cannot be resolved give
// the URL of filePath marked stale, or nothing when filePath is not a file URL.
std::optional<DocumentInfo> documentInfo(const Bookmark& bookmark,
                                         IndexingState notIndexedState = IndexingState::none);

// The documents of a chat's bookmarks, in order, leaving out those with no entry.
std::vector<DocumentInfo> documentInfos(const std::vector<Bookmark>& bookmarks);

// The user has pointed to a stale document's file anew: new access data and
// digest are stored for the bookmark (its filePath stays), and the entry of
// `documents` with this bookmark id is replaced by a fresh, not stale one.
// Throws FileError or DatabaseError, leaving `documents` as it was.
void updateBookmark(const DocumentStore& store, int64_t bookmarkId, const std::string& fileUrl,
                    std::vector<DocumentInfo>& documents);

// Access brackets of an open chat's view. The access data of this platform are
// plain paths, so there is nothing to open or close: both only log.
void startAccessing(const std::vector<DocumentInfo>& documents);
void stopAccessing(const std::vector<DocumentInfo>& documents);

}  // namespace folvane
