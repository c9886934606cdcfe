#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "store/Message.h"

namespace folvane {

// The file kinds a chat is exported to, in the order the menu lists them.
enum class ChatExportFormat { markdown, json, html };

std::string_view rawValue(ChatExportFormat format);
std::optional<ChatExportFormat> chatExportFormatFromRaw(std::string_view raw);

// "md", "json", "html".
std::string_view fileExtension(ChatExportFormat format);
// The title of the save panel.
std::string_view exportPanelTitle(ChatExportFormat format);

// Only the user's and the assistant's messages are exported: system rows,
// function results and context markers never are.
inline bool isExported(const Message& message) {
    return message.role == "user" || message.role == "assistant";
}

}  // namespace folvane
