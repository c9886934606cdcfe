#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "documents/DocumentInfo.h"
#include "documents/LoadingState.h"

namespace folvane {

// The indexing part of a chat's state, whole, as it stands after one change.
struct IndexingUpdate {
    LoadingState loadingState = LoadingState::none;
    std::string loadingFailReason;
    int indexingProgress = 0;  // 0 to 99
    int totalPageNumber = 0;
    bool isScannedDocument = false;
    std::vector<DocumentInfo> documents;    // allDocuments, in the chat's order
    std::vector<int64_t> extraBookmarkIds;  // the conversation's, after add and remove
    // The local model's weights are on disk: a document embedded by another
    // model can be embedded again with it.
    bool localModelInstalled = false;

    bool operator==(const IndexingUpdate&) const = default;
};

}  // namespace folvane
