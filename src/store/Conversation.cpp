#include "store/Conversation.h"

namespace folvane {

std::vector<int64_t> Conversation::allBookmarkIds() const {
    std::vector<int64_t> ids{bookmarkId};
    ids.insert(ids.end(), extraBookmarkIds.begin(), extraBookmarkIds.end());
    return ids;
}

}  // namespace folvane
