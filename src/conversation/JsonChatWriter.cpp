#include "conversation/JsonChatWriter.h"

#include <nlohmann/json.hpp>

#include "conversation/ChatExportFormat.h"
#include "providers/Chat.h"

namespace folvane {

std::string JsonChatWriter::render(const std::vector<Message>& messages) {
    auto array = nlohmann::json::array();
    for (const auto& message : messages) {
        if (!isExported(message)) continue;
        Chat chat;
        chat.role = message.role == "user" ? ChatRole::user : ChatRole::assistant;
        chat.content = ChatInputContent(message.content);
        array.push_back(toJson(chat));
    }
    // Invalid UTF-8 in a message becomes U+FFFD instead of failing the export.
    return array.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace folvane
