#include "conversation/ChatExporter.h"

#include "SimilaritySearchKit/IndexFileIO.h"
#include "conversation/HtmlChatWriter.h"
#include "conversation/JsonChatWriter.h"
#include "conversation/MarkdownChatWriter.h"
#include "platform/Uuid.h"

namespace folvane {

std::string ChatExporter::defaultFileName() {
    return "chat-" + newUuid();
}

std::string ChatExporter::render(ChatExportFormat format, const std::vector<Message>& messages) {
    switch (format) {
        case ChatExportFormat::markdown:
            return MarkdownChatWriter::render(messages);
        case ChatExportFormat::html:
            return HtmlChatWriter::render(messages);
        case ChatExportFormat::json:
            return JsonChatWriter::render(messages);
    }
    return {};
}

void ChatExporter::write(ChatExportFormat format, const std::vector<Message>& messages,
                         const std::filesystem::path& path) {
    indexfile::writeAtomically(path, render(format, messages));
}

}  // namespace folvane
