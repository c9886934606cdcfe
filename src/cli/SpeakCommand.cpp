#include <algorithm>
#include <ostream>

#include "chat/AppChatService.h"
#include "chat/AppChatServiceError.h"
#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "platform/FileUrl.h"
#include "store/AppPreferences.h"

namespace folvane {

// Reads a message aloud as the window's Speak does, without the speakers: the
// message's speech file is made once (or found) and its path printed.
int runSpeakCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    if (args.empty()) throw UsageError("speak needs a message id");
    expectNoMoreArguments(args, 1);
    const int64_t messageId = parseId(args[0], "message id");
    const auto message = context.service().getMessage(messageId);
    if (!message) {
        throw std::runtime_error("No message has the id " + std::to_string(messageId) + ".");
    }
    if (context.preferences().openAIKey().empty() && !context.preferences().onDeviceSpeech()) {
        throw AppChatServiceError(AppChatServiceError::Case::apiKeyMissing);
    }

    ChatSession session(context, message->conversationId);
    session.sync();
    const auto& messages = session.state().messages;
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [&](const Message& m) { return m.id == messageId; });
    session.trigger(chat_input::Speak{found != messages.end() ? *found : *message});
    session.viewModel().waitForSpeech();
    session.runUntil([] { return true; }, std::chrono::milliseconds(0));
    session.expectNoError();

    const auto stored = context.service().getMessage(messageId);
    if (!stored || !stored->speechFileURL) {
        throw std::runtime_error("The message has no speech file.");
    }
    const auto path = pathFromFileUrl(*stored->speechFileURL);
    context.out() << path.value_or(*stored->speechFileURL) << '\n';
    return 0;
}

}  // namespace folvane
