#include "shell/prompts/PromptLibraryButton.h"

#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QShortcut>

#include "shell/prompts/PromptMime.h"
#include "shell/prompts/PromptPickerPopup.h"

namespace folvane {
namespace {

// A closed book in the text colour: the cover, its spine and a bookmark.
QIcon bookIcon(const QColor& colour) {
    QPixmap pixmap(QSize(32, 32));
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(colour, 2.4);
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);
    painter.drawRoundedRect(QRectF(7, 4, 19, 24), 3, 3);
    painter.drawLine(QPointF(11, 4.5), QPointF(11, 27.5));
    QPainterPath mark;
    mark.moveTo(16, 4);
    mark.lineTo(16, 13);
    mark.lineTo(18.5, 11);
    mark.lineTo(21, 13);
    mark.lineTo(21, 4);
    painter.setBrush(colour);
    painter.drawPath(mark);
    return QIcon(pixmap);
}

}  // namespace

PromptLibraryButton::PromptLibraryButton(PromptListViewModel& list, QPlainTextEdit* box,
                                         QWidget* parent)
    : QToolButton(parent), box_(box), picker_(new PromptPickerPopup(list, this)) {
    setIcon(bookIcon(palette().color(QPalette::ButtonText)));
    setText(QStringLiteral("Prompts"));
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    setToolTip(helpText());
    setAccessibleName(helpText());
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QToolButton::clicked, this, &PromptLibraryButton::openPicker);

    auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_P), this);
    shortcut->setContext(Qt::WindowShortcut);
    connect(shortcut, &QShortcut::activated, this, &PromptLibraryButton::openPicker);

    connect(picker_, &PromptPickerPopup::promptChosen, this,
            [this](const Prompt& prompt) { fillWithPrompt(box_, prompt); });
}

QString PromptLibraryButton::helpText() {
    return QStringLiteral("Prompt Library (Ctrl+Shift+P)");
}

void PromptLibraryButton::openPicker() {
    if (picker_->isVisible()) return;
    // Over the message box, so that the button's row stays in sight.
    picker_->popUp(box_);
}

}  // namespace folvane
