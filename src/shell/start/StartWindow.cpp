#include "shell/start/StartWindow.h"

#include <QListWidget>
#include <QVBoxLayout>

#include "conversation/AppCore.h"
#include "conversation/ChatListViewModel.h"
#include "shell/app/WindowManager.h"

namespace folvane {

StartWindow::StartWindow(WindowManager& windows, QWidget* parent)
    : QWidget(parent), windows_(windows), list_(new QListWidget(this)) {
    setWindowTitle(QStringLiteral("Welcome to Folvane"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(list_);
    connect(list_, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) {
        windows_.openChat(item->data(Qt::UserRole).toLongLong());
    });
    auto& chatList = windows_.core().chatList();
    subscription_ = chatList.subscribe([this] { render(); });
    chatList.trigger(chat_list_input::Sync{});
    render();
}

void StartWindow::render() {
    list_->clear();
    for (const auto& chat : windows_.core().chatList().state().chats) {
        auto* item =
            new QListWidgetItem(QString::fromStdString(chat.state().conversation.title), list_);
        item->setData(Qt::UserRole, QVariant::fromValue<qlonglong>(chat.id()));
    }
}

}  // namespace folvane
