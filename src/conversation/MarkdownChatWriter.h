#pragma once

#include <string>
#include <vector>

#include "store/Message.h"

namespace folvane {

// A chat as Markdown: each exported message as "**User**: " or
// "**Assistant**: ", its text, and a blank line.
class MarkdownChatWriter {
  public:
    static std::string render(const std::vector<Message>& messages);
};

}  // namespace folvane
