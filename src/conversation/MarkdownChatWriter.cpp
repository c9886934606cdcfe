#include "conversation/MarkdownChatWriter.h"

#include "conversation/ChatExportFormat.h"

namespace folvane {

std::string MarkdownChatWriter::render(const std::vector<Message>& messages) {
    std::string text;
    for (const auto& message : messages) {
        if (!isExported(message)) continue;
        text += message.role == "user" ? "**User**: " : "**Assistant**: ";
        text += message.content;
        text += "\n\n";
    }
    return text;
}

}  // namespace folvane
