#pragma once

#include "platform/Clipboard.h"

namespace folvane {

// The desktop's clipboard through Qt's: what the chats copy goes there.
class QtClipboard final : public Clipboard {
  public:
    void setText(const std::string& text) override;
};

}  // namespace folvane
