#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "conversation/AnyViewModel.h"
#include "conversation/ChatDetailInput.h"
#include "conversation/ChatDetailState.h"
#include "conversation/ViewModel.h"
#include "store/Conversation.h"

namespace folvane {

class ChatService;

using ChatDetailRef = AnyViewModel<ChatDetailState, ChatDetailInput>;

struct ChatListState {
    // One live view model for each conversation, newest chat first.
    std::vector<ChatDetailRef> chats;
    // The chat that a window should open or bring forward; 0 for none yet.
    int64_t newChatFocusId = 0;
    // The words of the last input's failure, shown to the user; cleared by the
    // next input.
    std::optional<std::string> alert;
};

namespace chat_list_input {
struct RemoveConversation {
    int64_t id = 0;
};
struct AddConversation {
    Conversation conversation;
};
// Copies the source chat with its messages up to and including upToMessageId.
struct ForkChat {
    int64_t sourceId = 0;
    int64_t upToMessageId = 0;
};
struct Sync {};
}  // namespace chat_list_input

using ChatListInput =
    std::variant<chat_list_input::RemoveConversation, chat_list_input::AddConversation,
                 chat_list_input::ForkChat, chat_list_input::Sync>;

// The list of all chats. It makes one chat view model for each conversation
// (through the factory it is given, which keeps it free of how a chat's view
// model is built) and keeps it until the conversation is removed. Runs on the
// main thread; its store calls are synchronous, and a store failure becomes the
// state's alert with the list left as it was.
class ChatListViewModel final : public PublishingViewModel<ChatListState, ChatListInput> {
  public:
    using DetailFactory =
        std::function<std::shared_ptr<ViewModel<ChatDetailState, ChatDetailInput>>(
            const Conversation&)>;

    ChatListViewModel(ChatService& service, DetailFactory makeDetail);

    void trigger(ChatListInput input) override;

    // The entry of a conversation (sharing its view model), or none.
    std::optional<ChatDetailRef> find(int64_t conversationId) const;

  private:
    void sync();
    void addConversation(const Conversation& conversation);
    void removeConversation(int64_t id);
    void forkChat(int64_t sourceId, int64_t upToMessageId);
    ChatDetailRef wrap(const Conversation& conversation) const;

    ChatService& service_;
    DetailFactory makeDetail_;
};

}  // namespace folvane
