#include "shell/chat/ChatSearchBar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>

namespace folvane {

ChatSearchBar::ChatSearchBar(ChatDetailRef chat, QWidget* parent)
    : QWidget(parent), chat_(std::move(chat)), field_(new QLineEdit(this)) {
    const QString name = QStringLiteral("Find in Chat");
    setAccessibleName(name);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 3, 6, 3);
    field_->setPlaceholderText(name);
    field_->setAccessibleName(name);
    field_->setClearButtonEnabled(true);
    // The line edit's own clear button has no name of its own.
    for (auto* action : field_->findChildren<QAction*>()) {
        action->setText(QStringLiteral("Clear"));
        action->setToolTip(action->text());
    }
    field_->installEventFilter(this);
    layout->addWidget(field_, 1);
    auto* done = new QToolButton(this);
    done->setText(QStringLiteral("Done"));
    done->setAccessibleName(done->text());
    done->setFocusPolicy(Qt::TabFocus);
    layout->addWidget(done);
    connect(field_, &QLineEdit::textChanged, this, [this](const QString& text) {
        chat_.trigger(chat_input::Find{text.toStdString(), SearchScope::chat});
    });
    connect(done, &QToolButton::clicked, this, &ChatSearchBar::close);
    hide();
}

void ChatSearchBar::open() {
    show();
    field_->setFocus(Qt::ShortcutFocusReason);
    field_->selectAll();
}

void ChatSearchBar::close() {
    // An empty field is an ended search: every message shows again.
    field_->clear();
    hide();
    emit closed();
}

bool ChatSearchBar::eventFilter(QObject* watched, QEvent* event) {
    if (watched == field_ && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        close();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace folvane
