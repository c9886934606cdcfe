#pragma once

#include <QWidget>
#include <cstdint>
#include <optional>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QLineEdit;

namespace folvane {

class WindowManager;

// The window of one chat: the transcript and compose box beside the viewer.
class ChatWindow final : public QWidget {
    Q_OBJECT
  public:
    ChatWindow(int64_t conversationId, WindowManager& windows, QWidget* parent = nullptr);

    int64_t conversationId() const { return conversationId_; }

  private:
    void updateTitle();

    int64_t conversationId_;
    WindowManager& windows_;
    std::optional<ChatDetailRef> chat_;
    QLineEdit* compose_ = nullptr;
    Subscription subscription_;
};

}  // namespace folvane
