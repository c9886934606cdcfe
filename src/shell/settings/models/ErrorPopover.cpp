#include "shell/settings/models/ErrorPopover.h"

#include <QAccessible>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

namespace folvane {

ErrorPopover::ErrorPopover(QWidget* parent) : QFrame(parent, Qt::Popup | Qt::FramelessWindowHint) {
    setFrameShape(QFrame::StyledPanel);
    setAccessibleName(QStringLiteral("Error"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 10, 12, 10);
    text_ = new QLabel(this);
    text_->setTextFormat(Qt::PlainText);
    text_->setWordWrap(true);
    text_->setMaximumWidth(380);
    // Selectable by keys too, so that the message takes focus and can be copied.
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text_->setFocusPolicy(Qt::StrongFocus);
    layout->addWidget(text_);
}

void ErrorPopover::showMessage(const QString& message, QWidget* anchor) {
    text_->setText(message);
    text_->setAccessibleName(message);
    // A wrapped label asks for little width: give it a line's worth, up to its maximum.
    text_->setMinimumWidth(
        std::min(text_->fontMetrics().horizontalAdvance(message) + 4, text_->maximumWidth()));
    adjustSize();
    QPoint at = anchor->mapToGlobal(QPoint(0, anchor->height() + 4));
    move(at);
    show();
    text_->setFocus(Qt::PopupFocusReason);
    QAccessibleEvent alert(text_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void ErrorPopover::withdraw() {
    withdrawing_ = true;
    hide();
    withdrawing_ = false;
}

QString ErrorPopover::message() const {
    return text_->text();
}

void ErrorPopover::hideEvent(QHideEvent* event) {
    QFrame::hideEvent(event);
    if (!withdrawing_) emit dismissed();
}

}  // namespace folvane
