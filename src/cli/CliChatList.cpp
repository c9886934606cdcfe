#include "cli/CliChatList.h"

#include <stdexcept>

#include "chat/AppChatService.h"
#include "conversation/ChatDetailViewModel.h"

namespace folvane {

CliChatList::CliChatList(CliContext& context) : context_(context) {
    list_ = std::make_unique<ChatListViewModel>(
        context_.service(), [this](const Conversation& conversation) {
            return std::shared_ptr<ChatDetailViewModel>(
                context_.core().makeChatDetail(conversation, mainQueue_));
        });
    list_->trigger(chat_list_input::Sync{});
    mainQueue_.drain();
}

CliChatList::~CliChatList() {
    mainQueue_.drain();
}

ChatDetailRef CliChatList::chat(int64_t id) {
    auto found = list_->find(id);
    if (!found)
        throw std::runtime_error("There is no chat with the id " + std::to_string(id) + ".");
    if (!found->state().loaded) {
        found->trigger(chat_input::Sync{});
        mainQueue_.drain();
    }
    return *found;
}

}  // namespace folvane
