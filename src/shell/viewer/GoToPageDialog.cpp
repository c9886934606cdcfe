#include "shell/viewer/GoToPageDialog.h"

#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace folvane {

GoToPageDialog::GoToPageDialog(QWidget* parent) : QDialog(parent), field_(new QLineEdit(this)) {
    setWindowTitle(QStringLiteral("Go to Page"));
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(QStringLiteral("Go to page:"), this);
    label->setBuddy(field_);
    layout->addWidget(label);
    field_->setAccessibleName(QStringLiteral("Go to page:"));
    layout->addWidget(field_);
    auto* buttons = new QDialogButtonBox(this);
    auto* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    ok_ = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    cancel->setAccessibleName(cancel->text());
    ok_->setAccessibleName(ok_->text());
    ok_->setToolTip(QStringLiteral("Ctrl+Return"));
    ok_->setDefault(true);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (auto number = page()) emit pageChosen(*number);
        accept();
    });
}

void GoToPageDialog::keyPressEvent(QKeyEvent* event) {
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && (event->modifiers() & Qt::ControlModifier)) {
        ok_->click();
        return;
    }
    QDialog::keyPressEvent(event);
}

std::optional<int> GoToPageDialog::page() const {
    bool ok = false;
    const int number = field_->text().trimmed().toInt(&ok);
    if (!ok) return std::nullopt;
    return number;
}

}  // namespace folvane
