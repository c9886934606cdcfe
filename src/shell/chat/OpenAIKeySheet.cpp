#include "shell/chat/OpenAIKeySheet.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "store/AppPreferences.h"

namespace folvane {

OpenAIKeySheet::OpenAIKeySheet(AppPreferences& preferences, QWidget* parent)
    : QDialog(parent), preferences_(preferences) {
    setWindowTitle(QStringLiteral("Enter your OpenAI API Key"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(QStringLiteral("Enter your OpenAI API Key"), this);
    title->setStyleSheet(QStringLiteral("font-weight: bold"));
    layout->addWidget(title);
    layout->addWidget(new QLabel(QStringLiteral("To start chatting with your PDF, you'll need an "
                                                "OpenAI API key.\nMake sure your OpenAI account "
                                                "has valid billing info."),
                                 this));
    key_ = new QLineEdit(this);
    key_->setEchoMode(QLineEdit::Password);
    key_->setPlaceholderText(QStringLiteral("sk-..."));
    key_->setAccessibleName(QStringLiteral("OpenAI API Key"));
    layout->addWidget(key_);

    auto* buttons = new QDialogButtonBox(this);
    auto* cancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    save_ = buttons->addButton(QStringLiteral("Save API Key"), QDialogButtonBox::AcceptRole);
    cancel->setAccessibleName(cancel->text());
    save_->setAccessibleName(save_->text());
    save_->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(save_, &QPushButton::clicked, this, &OpenAIKeySheet::saveKey);
    layout->addWidget(buttons);
}

void OpenAIKeySheet::saveKey() {
    const QString key = key_->text().trimmed();
    if (key.isEmpty()) return;
    try {
        preferences_.setOpenAIKey(key.toStdString());
        preferences_.setOnboardingSetup(true);
    } catch (const std::exception& error) {
        QMessageBox::warning(this, QStringLiteral("Failed"), QString::fromStdString(error.what()));
        return;
    }
    key_->clear();
    accept();
}

}  // namespace folvane
