#include <iomanip>
#include <ostream>

#include "chat/AppChatService.h"
#include "cli/CliArguments.h"
#include "store/JsonText.h"

namespace folvane {

namespace {

// The model as the chat list names it: a custom model by its name, else its id.
std::string modelLabel(AppChatService& service, const Conversation& chat) {
    if (chat.customModelId > 0) {
        if (auto custom = service.getCustomModel(chat.customModelId)) return custom->name;
    }
    return chat.model;
}

}  // namespace

int runChatsCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    expectNoMoreArguments(args, 0);

    auto& service = context.service();
    const auto chats = service.getConversations(0);
    auto& out = context.out();
    if (json) {
        for (const auto& chat : chats) {
            nlohmann::ordered_json row;
            row["id"] = chat.id;
            row["title"] = chat.title;
            row["documents"] = chat.allBookmarkIds().size();
            row["messages"] = chat.messageCount.value_or(0);
            row["model"] = modelLabel(service, chat);
            out << compactJson(row) << '\n';
        }
        return 0;
    }
    if (chats.empty()) {
        out << "No chats yet. Open a PDF with: folvane-cli open FILE.pdf\n";
        return 0;
    }
    out << std::left << std::setw(6) << "ID" << std::setw(40) << "TITLE" << std::setw(6) << "DOCS"
        << std::setw(10) << "MESSAGES"
        << "MODEL\n";
    for (const auto& chat : chats) {
        std::string title = chat.title;
        if (title.size() > 38) {
            title.resize(35);
            title += "...";
        }
        out << std::left << std::setw(6) << chat.id << std::setw(40) << title << std::setw(6)
            << chat.allBookmarkIds().size() << std::setw(10) << chat.messageCount.value_or(0)
            << modelLabel(service, chat) << '\n';
    }
    return 0;
}

}  // namespace folvane
