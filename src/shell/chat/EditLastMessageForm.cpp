#include "shell/chat/EditLastMessageForm.h"

#include <QShortcut>
#include <QTimer>
#include <algorithm>

#include "shell/chat/transcript/MessageEditDialog.h"

namespace folvane {

EditLastMessageForm::EditLastMessageForm(ChatDetailRef chat, QWidget* window)
    : QObject(window), chat_(std::move(chat)), window_(window) {
    subscription_ = chat_.subscribe([this] { render(); });
    render();
}

void EditLastMessageForm::render() {
    const auto& state = chat_.state();
    if (!state.shouldShowEditLastMessageForm || dialog_) return;
    const auto& messages = state.messages;
    const auto last = std::find_if(messages.rbegin(), messages.rend(),
                                   [](const Message& m) { return m.role == "user"; });
    if (last == messages.rend()) {
        // Not from inside the chat's own notification.
        QTimer::singleShot(0, this,
                           [this] { chat_.trigger(chat_input::HideEditLastMessageForm{}); });
        return;
    }
    const int64_t id = last->id;
    dialog_ = new MessageEditDialog(QString::fromStdString(last->content), window_);
    dialog_->setWindowTitle(QStringLiteral("Edit Last Message"));
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    auto* save = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return), dialog_);
    connect(save, &QShortcut::activated, dialog_, &QDialog::accept);
    connect(dialog_, &QDialog::accepted, this, [this, id] {
        chat_.trigger(chat_input::UpdateMessageContent{id, dialog_->text().toStdString(), true});
    });
    connect(dialog_, &QDialog::finished, this,
            [this] { chat_.trigger(chat_input::HideEditLastMessageForm{}); });
    dialog_->open();
}

}  // namespace folvane
