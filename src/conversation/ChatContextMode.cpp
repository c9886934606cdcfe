#include "conversation/ChatContextMode.h"

namespace folvane {

std::string_view rawValue(ChatContextMode mode) {
    switch (mode) {
        case ChatContextMode::all:
            return "all";
        case ChatContextMode::quotedContent:
            return "quotedContent";
        case ChatContextMode::singleDocument:
            return "singleDocument";
        case ChatContextMode::images:
            return "images";
    }
    return "all";
}

std::optional<ChatContextMode> chatContextModeFromRaw(std::string_view raw) {
    for (auto mode : {ChatContextMode::all, ChatContextMode::quotedContent,
                      ChatContextMode::singleDocument, ChatContextMode::images}) {
        if (rawValue(mode) == raw) return mode;
    }
    return std::nullopt;
}

}  // namespace folvane
