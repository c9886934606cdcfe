#pragma once

#include <string>
#include <vector>

#include "store/Message.h"

namespace folvane {

// A chat in the form fine-tuning accepts: a JSON array of wire chat messages,
// each with only "role" and "content".
class JsonChatWriter {
  public:
    static std::string render(const std::vector<Message>& messages);
};

}  // namespace folvane
