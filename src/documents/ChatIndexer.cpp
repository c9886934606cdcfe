#include "documents/ChatIndexer.h"

#include "chat/ChatService.h"
#include "store/AppPreferences.h"

namespace folvane {

ChatIndexer::ChatIndexer(const Conversation& conversation, ChatIndexerDependencies dependencies,
                         Listener listener)
    : service_(dependencies.service),
      preferences_(dependencies.preferences),
      embedders_(std::move(dependencies.embedders)),
      fileTags_(dependencies.fileTags),
      resourceDirectory_(std::move(dependencies.resourceDirectory)),
      makeRecognizer_(std::move(dependencies.makeRecognizer)),
      listener_(std::move(listener)),
      conversationId_(conversation.id),
      customModelId_(conversation.customModelId),
      extraBookmarkIds_(conversation.extraBookmarkIds) {}

ChatIndexer::~ChatIndexer() = default;

bool ChatIndexer::loadIndex() {
    return false;
}
void ChatIndexer::unloadIndex() {}
void ChatIndexer::rebuildIndex(int64_t, bool) {}
void ChatIndexer::removeFromChat(int64_t) {}
void ChatIndexer::addDocuments(const std::vector<std::string>&) {}
void ChatIndexer::updateBookmark(int64_t, const std::string&) {}
void ChatIndexer::setCustomModelId(int64_t customModelId) {
    customModelId_ = customModelId;
}
void ChatIndexer::wait() {}
IndexingUpdate ChatIndexer::state() const {
    return state_;
}
ChatIndexes ChatIndexer::indexes() const {
    return {};
}
std::vector<Bookmark> ChatIndexer::bookmarks() const {
    return bookmarks_;
}
std::map<int64_t, std::string> ChatIndexer::firstPageContentMap() const {
    return {};
}

}  // namespace folvane
