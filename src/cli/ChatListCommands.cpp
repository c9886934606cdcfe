#include <ostream>
#include <stdexcept>

#include "cli/CliArguments.h"
#include "cli/CliChatList.h"

namespace folvane {

namespace {

// The list's words for a failed input, else the fallback.
[[noreturn]] void failWith(const ChatListViewModel& list, const std::string& fallback) {
    throw std::runtime_error(list.state().alert.value_or(fallback));
}

}  // namespace

int runForkCommand(CliContext& context, const CliArguments& args) {
    if (args.size() < 2) throw UsageError("fork needs a chat id and a message id");
    expectNoMoreArguments(args, 2);
    const int64_t chatId = parseId(args[0], "chat id");
    const int64_t messageId = parseId(args[1], "message id");

    CliChatList list(context);
    const auto source = list.chat(chatId);
    bool known = false;
    for (const auto& message : source.state().messages) known = known || message.id == messageId;
    if (!known) {
        throw std::runtime_error("The chat " + std::to_string(chatId) +
                                 " has no message with the id " + std::to_string(messageId) + ".");
    }

    auto& viewModel = list.viewModel();
    const int64_t focusBefore = viewModel.state().newChatFocusId;
    viewModel.trigger(chat_list_input::ForkChat{chatId, messageId});
    const int64_t focus = viewModel.state().newChatFocusId;
    if (viewModel.state().alert || focus == focusBefore || focus == 0) {
        failWith(viewModel, "Failed to fork the chat.");
    }
    context.out() << focus << '\n';
    return 0;
}

int runRemoveCommand(CliContext& context, const CliArguments& args) {
    if (args.empty()) throw UsageError("remove needs a chat id");
    expectNoMoreArguments(args, 1);
    const int64_t chatId = parseId(args[0], "chat id");

    CliChatList list(context);
    auto& viewModel = list.viewModel();
    if (!viewModel.find(chatId)) {
        throw std::runtime_error("There is no chat with the id " + std::to_string(chatId) + ".");
    }
    viewModel.trigger(chat_list_input::RemoveConversation{chatId});
    if (viewModel.state().alert || viewModel.find(chatId)) {
        failWith(viewModel, "Failed to delete the conversation.");
    }
    return 0;
}

int runRenameCommand(CliContext& context, const CliArguments& args) {
    if (args.size() < 2) throw UsageError("rename needs a chat id and a title");
    expectNoMoreArguments(args, 2);
    const int64_t chatId = parseId(args[0], "chat id");
    const std::string& title = args[1];
    if (title.find_first_not_of(" \t\n") == std::string::npos) {
        throw UsageError("A chat's title cannot be empty.");
    }

    CliChatList list(context);
    auto chat = list.chat(chatId);
    chat.trigger(chat_input::UpdateTitle{title});
    list.drain();
    if (const auto& error = chat.state().lastError) throw std::runtime_error(*error);
    if (chat.state().conversation.title != title) {
        throw std::runtime_error("Failed to rename the chat.");
    }
    return 0;
}

}  // namespace folvane
