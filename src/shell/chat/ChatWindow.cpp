#include "shell/chat/ChatWindow.h"

#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QVBoxLayout>

#include "conversation/AppCore.h"
#include "shell/app/WindowManager.h"
#include "shell/chat/TranscriptView.h"

namespace folvane {

ChatWindow::ChatWindow(int64_t conversationId, WindowManager& windows, QWidget* parent)
    : QWidget(parent), conversationId_(conversationId), windows_(windows) {
    auto* layout = new QVBoxLayout(this);
    chat_ = windows_.core().chatList().find(conversationId_);
    if (!chat_) {
        layout->addWidget(
            new QLabel(QStringLiteral("Failed to load the conversation. Please try again.")));
        return;
    }
    auto* splitter = new QSplitter(this);
    auto* left = new QWidget(splitter);
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->addWidget(new TranscriptView(*chat_, windows_.core().preferences(), left));
    compose_ = new QLineEdit(left);
    leftLayout->addWidget(compose_);
    splitter->addWidget(left);
    splitter->addWidget(new QLabel(QStringLiteral("No document selected"), splitter));
    layout->addWidget(splitter);
    connect(compose_, &QLineEdit::returnPressed, this, [this] {
        chat_->trigger(chat_input::AddMessage{compose_->text().toStdString()});
        compose_->clear();
    });
    subscription_ = chat_->subscribe([this] { updateTitle(); });
    chat_->trigger(chat_input::LoadIndex{});
    chat_->trigger(chat_input::Sync{});
    updateTitle();
    resize(1100, 750);
}

void ChatWindow::updateTitle() {
    setWindowTitle(QString::fromStdString(chat_->state().conversation.title));
}

}  // namespace folvane
