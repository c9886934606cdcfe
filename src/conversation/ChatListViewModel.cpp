#include "conversation/ChatListViewModel.h"

#include <algorithm>

#include "chat/ChatService.h"
#include "platform/Log.h"

namespace folvane {

namespace input = chat_list_input;

ChatListViewModel::ChatListViewModel(ChatService& service, DetailFactory makeDetail)
    : service_(service), makeDetail_(std::move(makeDetail)) {
    log("ChatListViewModel.init()");
}

void ChatListViewModel::trigger(ChatListInput input) {
    std::optional<std::string> failure;
    try {
        std::visit(
            [this](auto&& value) {
                using Case = std::decay_t<decltype(value)>;
                if constexpr (std::is_same_v<Case, input::RemoveConversation>) {
                    removeConversation(value.id);
                } else if constexpr (std::is_same_v<Case, input::AddConversation>) {
                    addConversation(value.conversation);
                } else if constexpr (std::is_same_v<Case, input::ForkChat>) {
                    forkChat(value.sourceId, value.upToMessageId);
                } else {
                    sync();
                }
            },
            input);
    } catch (const std::exception& error) {
        log(error.what());
        failure = error.what();
    }
    if (failure || state().alert) updateState([&](ChatListState& next) { next.alert = failure; });
}

std::optional<ChatDetailRef> ChatListViewModel::find(int64_t conversationId) const {
    for (const auto& chat : state().chats) {
        if (chat.id() == conversationId) return chat;
    }
    return std::nullopt;
}

ChatDetailRef ChatListViewModel::wrap(const Conversation& conversation) const {
    return ChatDetailRef(makeDetail_(conversation));
}

void ChatListViewModel::sync() {
    log("ChatListViewModel.sync");
    int64_t lastId = 0;
    for (const auto& chat : state().chats) lastId = std::max(lastId, chat.id());

    // Only rows above the highest id known: the chats already listed keep
    // their live state. A failed read gives the rows read before it.
    const auto rows = service_.getConversations(lastId);
    if (rows.empty()) return;
    std::vector<ChatDetailRef> added;
    added.reserve(rows.size());
    for (const auto& row : rows) added.push_back(wrap(row));
    updateState([&](ChatListState& next) {
        next.chats.insert(next.chats.begin(), added.begin(), added.end());
    });
}

void ChatListViewModel::addConversation(const Conversation& conversation) {
    auto chat = wrap(conversation);
    updateState([&](ChatListState& next) {
        next.chats.insert(next.chats.begin(), std::move(chat));
        next.newChatFocusId = conversation.id;
    });
}

void ChatListViewModel::removeConversation(int64_t id) {
    service_.deleteConversation(id);
    updateState([&](ChatListState& next) {
        std::erase_if(next.chats, [id](const ChatDetailRef& chat) { return chat.id() == id; });
    });
}

void ChatListViewModel::forkChat(int64_t sourceId, int64_t upToMessageId) {
    const auto source = service_.getConversation(sourceId);
    if (!source) return;
    // The store copies the chat and its messages in one transaction.
    const Conversation made = service_.forkConversation(*source, upToMessageId);
    const auto copy = service_.getConversation(made.id);
    if (!copy) return;
    addConversation(*copy);
}

}  // namespace folvane
