#include "shell/viewer/FindBar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>

namespace folvane {
namespace {

QToolButton* button(const QString& text, const QString& help, QWidget* parent) {
    auto* made = new QToolButton(parent);
    made->setText(text);
    made->setToolTip(help);
    made->setAccessibleName(help);
    made->setFocusPolicy(Qt::TabFocus);
    return made;
}

}  // namespace

FindBar::FindBar(QWidget* parent) : QWidget(parent), field_(new QLineEdit(this)) {
    setAccessibleName(QStringLiteral("Find in PDF"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 3, 6, 3);
    field_->setPlaceholderText(QStringLiteral("Find in PDF"));
    field_->setAccessibleName(QStringLiteral("Find in PDF"));
    field_->setClearButtonEnabled(true);
    // The line edit's own clear button has no name of its own.
    for (auto* action : field_->findChildren<QAction*>()) {
        action->setText(QStringLiteral("Clear"));
        action->setToolTip(action->text());
    }
    field_->installEventFilter(this);
    layout->addWidget(field_, 1);
    auto* previous = button(QStringLiteral("‹"), QStringLiteral("Find Previous"), this);
    auto* next = button(QStringLiteral("›"), QStringLiteral("Find Next"), this);
    auto* done = button(QStringLiteral("Done"), QStringLiteral("Close the find bar"), this);
    done->setText(QStringLiteral("Done"));
    layout->addWidget(previous);
    layout->addWidget(next);
    layout->addWidget(done);
    connect(previous, &QToolButton::clicked, this, &FindBar::previousRequested);
    connect(next, &QToolButton::clicked, this, [this] { emit findRequested(field_->text()); });
    connect(done, &QToolButton::clicked, this, &FindBar::close);
    hide();
}

void FindBar::open() {
    show();
    field_->setFocus(Qt::ShortcutFocusReason);
    field_->selectAll();
}

void FindBar::close() {
    hide();
    emit closed();
}

bool FindBar::eventFilter(QObject* watched, QEvent* event) {
    if (watched == field_ && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (key->modifiers() & Qt::ShiftModifier)
                emit previousRequested();
            else
                emit findRequested(field_->text());
            return true;
        }
        if (key->key() == Qt::Key_Escape) {
            close();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace folvane
