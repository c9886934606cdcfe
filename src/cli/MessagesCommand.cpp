#include <ostream>

#include "chat/AppChatService.h"
#include "cli/CliArguments.h"
#include "store/JsonText.h"

namespace folvane {

int runMessagesCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    if (args.empty()) throw UsageError("messages needs a chat id");
    expectNoMoreArguments(args, 1);
    const int64_t chatId = parseId(args[0], "chat id");

    auto& service = context.service();
    if (!service.getConversation(chatId)) {
        throw std::runtime_error("No chat has the id " + std::to_string(chatId) + ".");
    }
    auto& out = context.out();
    for (const auto& message : service.getMessages(chatId, 0)) {
        if (json) {
            out << compactJson(toJson(message)) << '\n';
        } else if (message.role == "application") {
            out << "--- " << message.name.value_or("marker") << " ---\n\n";
        } else {
            out << "[" << message.id << "] " << message.role << " · "
                << formatDate(message.createdAt) << "\n"
                << message.content << "\n\n";
        }
    }
    return 0;
}

}  // namespace folvane
