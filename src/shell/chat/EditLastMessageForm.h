#pragma once

#include <QObject>
#include <QPointer>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"
#include "shell/chat/transcript/MessageEditDialog.h"

namespace folvane {

// The form that the chat asks for with shouldShowEditLastMessageForm: the
// text of the chat's last message of the user, to change and send again.
// Saving (the button, or Ctrl+Return) stores the new text and asks again from
// there; closing the form in any way tells the chat it is gone. A chat with no
// message of the user's has nothing to edit, and the request is dropped.
class EditLastMessageForm final : public QObject {
    Q_OBJECT
  public:
    EditLastMessageForm(ChatDetailRef chat, QWidget* window);

    // The open form, or null.
    MessageEditDialog* dialog() const { return dialog_; }

  private:
    void render();

    ChatDetailRef chat_;
    QWidget* window_;
    QPointer<MessageEditDialog> dialog_;
    Subscription subscription_;
};

}  // namespace folvane
