#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// Where a request's context comes from. The choice lasts for one message: the
// chat returns to `all` after every send.
enum class ChatContextMode {
    all,             // chunks retrieved for the question, with the earlier messages
    quotedContent,   // the text the user quoted, whole; only the one message
    singleDocument,  // no input sets it and nothing builds its context
    images,          // the images attached to the message; only the one message
};

// The case name, as a message's contextMode column keeps it.
std::string_view rawValue(ChatContextMode mode);
std::optional<ChatContextMode> chatContextModeFromRaw(std::string_view raw);

}  // namespace folvane
