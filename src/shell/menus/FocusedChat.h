#pragma once

#include <optional>

#include "conversation/ChatListViewModel.h"

namespace folvane {

class AppCore;
class ChatWindow;

// The chat whose window has the keyboard focus, as the menu bar of every window
// reaches it. A dialog of a chat window (its settings, a form) counts as that
// window; any other window, or none, means there is no focused chat, and what
// is sent to it then goes nowhere.
class FocusedChat {
  public:
    explicit FocusedChat(AppCore& core) : core_(core) {}

    // The active window's chat window, or null.
    static ChatWindow* window();
    // The focused window's chat, when that window shows one.
    std::optional<ChatDetailRef> chat() const;
    // Sends the input to the focused chat; false, and nothing sent, without one.
    bool trigger(ChatDetailInput input) const;

  private:
    AppCore& core_;
};

}  // namespace folvane
