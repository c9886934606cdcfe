#include "shell/chat/transcript/MessageEditDialog.h"

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace folvane {

MessageEditDialog::MessageEditDialog(const QString& text, QWidget* parent)
    : QDialog(parent), editor_(new QPlainTextEdit(text, this)) {
    setWindowTitle(tr("Edit Message"));
    editor_->setAccessibleName(tr("Message"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Save)->setAccessibleName(tr("Save"));
    buttons->button(QDialogButtonBox::Cancel)->setAccessibleName(tr("Cancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(editor_);
    layout->addWidget(buttons);
    resize(520, 320);
}

QString MessageEditDialog::text() const {
    return editor_->toPlainText();
}

}  // namespace folvane
