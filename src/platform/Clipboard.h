#pragma once

#include <string>

namespace folvane {

// The desktop's clipboard, for copying text out of a chat.
class Clipboard {
  public:
    virtual ~Clipboard() = default;
    virtual void setText(const std::string& text) = 0;
};

}  // namespace folvane
