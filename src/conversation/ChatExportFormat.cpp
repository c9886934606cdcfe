#include "conversation/ChatExportFormat.h"

namespace folvane {

std::string_view rawValue(ChatExportFormat format) {
    switch (format) {
        case ChatExportFormat::markdown:
            return "markdown";
        case ChatExportFormat::json:
            return "json";
        case ChatExportFormat::html:
            return "html";
    }
    return "markdown";
}

std::optional<ChatExportFormat> chatExportFormatFromRaw(std::string_view raw) {
    for (auto format :
         {ChatExportFormat::markdown, ChatExportFormat::json, ChatExportFormat::html}) {
        if (rawValue(format) == raw) return format;
    }
    return std::nullopt;
}

std::string_view fileExtension(ChatExportFormat format) {
    switch (format) {
        case ChatExportFormat::markdown:
            return "md";
        case ChatExportFormat::json:
            return "json";
        case ChatExportFormat::html:
            return "html";
    }
    return "md";
}

std::string_view exportPanelTitle(ChatExportFormat format) {
    switch (format) {
        case ChatExportFormat::markdown:
            return "Export the chat to markdown";
        case ChatExportFormat::json:
            return "Export the chat to JSON (fine-tuning compatible)";
        case ChatExportFormat::html:
            return "Export the chat to HTML";
    }
    return "";
}

}  // namespace folvane
