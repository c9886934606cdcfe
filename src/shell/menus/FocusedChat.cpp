#include "shell/menus/FocusedChat.h"

#include <QApplication>

#include "conversation/AppCore.h"
#include "shell/chat/ChatWindow.h"

namespace folvane {

ChatWindow* FocusedChat::window() {
    for (QWidget* widget = QApplication::activeWindow(); widget; widget = widget->parentWidget()) {
        if (auto* chat = qobject_cast<ChatWindow*>(widget)) return chat;
    }
    return nullptr;
}

std::optional<ChatDetailRef> FocusedChat::chat() const {
    const ChatWindow* focused = window();
    if (!focused || !focused->isLoaded()) return std::nullopt;
    return core_.chatList().find(focused->conversationId());
}

bool FocusedChat::trigger(ChatDetailInput input) const {
    auto focused = chat();
    if (!focused) return false;
    focused->trigger(std::move(input));
    return true;
}

}  // namespace folvane
