#include <algorithm>
#include <filesystem>
#include <ostream>

#include "chat/AppChatServiceError.h"
#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "cli/CliContext.h"
#include "platform/FileUrl.h"
#include "store/Date.h"

namespace folvane {

namespace {

// The one chat id that a command takes first, and what follows it.
int64_t chatIdOf(const CliArguments& args, const std::string& command) {
    if (args.empty()) throw UsageError(command + " needs a chat id");
    return parseId(args[0], "chat id");
}

void printMessage(std::ostream& out, const Message& message) {
    out << "[" << message.id << "] " << message.role << " · " << formatDate(message.createdAt)
        << "\n"
        << message.content << "\n\n";
}

// Opens the chat and loads its messages.
void openSynced(ChatSession& session) {
    session.sync();
    session.expectNoError();
}

// A command that changes the chat's messages and shows nothing.
int runMessageOperation(CliContext& context, const CliArguments& args, const std::string& command,
                        ChatDetailInput input) {
    const int64_t chatId = chatIdOf(args, command);
    expectNoMoreArguments(args, 1);
    ChatSession session(context, chatId);
    openSynced(session);
    session.trigger(std::move(input));
    session.expectNoError();
    return 0;
}

}  // namespace

int runAskCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const auto quote = takeOption(args, "--quote");
    const auto image = takeOption(args, "--image");
    if (quote && image) throw UsageError("ask takes --quote or --image, not both");
    const int64_t chatId = chatIdOf(args, "ask");
    if (args.size() < 2) throw UsageError("ask needs a question");
    expectNoMoreArguments(args, 2);
    const std::string question = args[1];
    // A question of blanks could never be sent: refused before the chat loads.
    if (question.find_first_not_of(" \t\r\n") == std::string::npos) {
        throw UsageError(AppChatServiceError::description(AppChatServiceError::Case::emptyMessage));
    }
    std::string imageUrl;
    if (image) {
        if (!std::filesystem::is_regular_file(*image)) {
            throw std::runtime_error("The file “" + *image + "” couldn’t be opened.");
        }
        imageUrl = fileUrlFromPath(*image);
    }

    ChatSession session(context, chatId);
    openSynced(session);
    session.loadIndexes();
    if (quote) session.trigger(chat_input::UseContentAsMessageContext{*quote});
    if (image) {
        session.trigger(chat_input::AddImages{{imageUrl}});
        session.expectNoError();
    }
    return session.streamReply(
        [&] { session.viewModel().trigger(chat_input::AddMessage{question}); });
}

int runRegenerateCommand(CliContext& context, const CliArguments& args) {
    const int64_t chatId = chatIdOf(args, "regenerate");
    expectNoMoreArguments(args, 1);
    ChatSession session(context, chatId);
    openSynced(session);
    const auto& messages = session.state().messages;
    if (std::none_of(messages.begin(), messages.end(),
                     [](const Message& m) { return m.role == "user"; })) {
        throw std::runtime_error("The chat has no question to answer again.");
    }
    session.loadIndexes();
    return session.streamReply([&] { session.viewModel().trigger(chat_input::Regenerate{}); });
}

int runContinueCommand(CliContext& context, const CliArguments& args) {
    const int64_t chatId = chatIdOf(args, "continue");
    expectNoMoreArguments(args, 1);
    ChatSession session(context, chatId);
    openSynced(session);
    if (session.state().messages.empty()) throw std::runtime_error("The chat has no message.");
    session.loadIndexes();
    return session.streamReply(
        [&] { session.viewModel().trigger(chat_input::ContinueGenerating{}); });
}

int runEditCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool resend = takeFlag(args, "--resend");
    const int64_t chatId = chatIdOf(args, "edit");
    if (args.size() < 3) throw UsageError("edit needs a chat id, a message id and the new text");
    expectNoMoreArguments(args, 3);
    const int64_t messageId = parseId(args[1], "message id");
    const std::string text = args[2];

    ChatSession session(context, chatId);
    openSynced(session);
    const auto& messages = session.state().messages;
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [&](const Message& m) { return m.id == messageId; });
    if (found == messages.end()) {
        throw std::runtime_error("The chat has no message with the id " +
                                 std::to_string(messageId) + ".");
    }
    if (!resend || found->role != "user") {
        session.trigger(chat_input::UpdateMessageContent{messageId, text, resend});
        session.expectNoError();
        return 0;
    }
    session.loadIndexes();
    return session.streamReply([&] {
        session.viewModel().trigger(chat_input::UpdateMessageContent{messageId, text, true});
    });
}

int runResetContextCommand(CliContext& context, const CliArguments& args) {
    return runMessageOperation(context, args, "reset-context", chat_input::ResetContext{});
}

int runClearMarkersCommand(CliContext& context, const CliArguments& args) {
    return runMessageOperation(context, args, "clear-markers", chat_input::ClearContextMarkers{});
}

int runDeleteMessagesCommand(CliContext& context, const CliArguments& args) {
    return runMessageOperation(context, args, "delete-messages", chat_input::DeleteAllMessages{});
}

int runSearchCommand(CliContext& context, const CliArguments& args) {
    const int64_t chatId = chatIdOf(args, "search");
    if (args.size() < 2) throw UsageError("search needs a keyword");
    expectNoMoreArguments(args, 2);
    const std::string keyword = args[1];

    ChatSession session(context, chatId);
    openSynced(session);
    session.trigger(chat_input::Find{keyword, SearchScope::chat});
    session.runUntil([&] {
        const auto& s = session.state();
        return !s.isSearching && s.searchKeyword == keyword;
    });
    for (const auto& message : session.state().searchResults) printMessage(context.out(), message);
    return 0;
}

}  // namespace folvane
