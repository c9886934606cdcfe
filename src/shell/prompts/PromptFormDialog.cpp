#include "shell/prompts/PromptFormDialog.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include "conversation/PromptListViewModel.h"
#include "platform/Log.h"

namespace folvane {

namespace input = prompt_list_input;

PromptFormDialog::PromptFormDialog(PromptListViewModel& list, QWidget* parent)
    : QDialog(parent), list_(list) {
    build(QStringLiteral("Add Prompt"));
}

PromptFormDialog::PromptFormDialog(PromptListViewModel& list, const Prompt& prompt, QWidget* parent)
    : QDialog(parent), list_(list), editing_(prompt) {
    build(QStringLiteral("Save"));
    label_->setText(QString::fromStdString(prompt.name));
    content_->setPlainText(QString::fromStdString(prompt.prompt));
}

void PromptFormDialog::build(const QString& confirmText) {
    setWindowTitle(QStringLiteral("Prompt Details"));
    setAccessibleName(windowTitle());
    auto* layout = new QVBoxLayout(this);

    auto* title = new QLabel(QStringLiteral("Prompt Details"), this);
    title->setStyleSheet(QStringLiteral("font-weight: bold; font-size: 14pt"));
    layout->addWidget(title);

    auto* fields = new QFormLayout;
    fields->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    label_ = new QLineEdit(this);
    label_->setAccessibleName(QStringLiteral("Label*"));
    fields->addRow(QStringLiteral("Label*"), label_);
    content_ = new QPlainTextEdit(this);
    content_->setAccessibleName(QStringLiteral("Content*"));
    content_->setPlaceholderText(QStringLiteral("Summarize this PDF..."));
    content_->setTabChangesFocus(true);
    content_->setMinimumHeight(140);
    fields->addRow(QStringLiteral("Content*"), content_);
    layout->addLayout(fields, 1);

    error_ = new QLabel(this);
    error_->setWordWrap(true);
    error_->setTextFormat(Qt::PlainText);
    error_->setStyleSheet(QStringLiteral("color: #c62828"));
    error_->hide();
    layout->addWidget(error_);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    cancel_ = new QPushButton(QStringLiteral("Cancel"), this);
    cancel_->setAccessibleName(cancel_->text());
    cancel_->setAutoDefault(false);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    buttons->addWidget(cancel_);
    confirm_ = new QPushButton(confirmText, this);
    confirm_->setAccessibleName(confirmText);
    confirm_->setDefault(true);
    connect(confirm_, &QPushButton::clicked, this, &PromptFormDialog::confirm);
    buttons->addWidget(confirm_);
    layout->addLayout(buttons);

    // Return in the content makes a new line; Ctrl+Return confirms from anywhere.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | key), this);
        connect(shortcut, &QShortcut::activated, this, &PromptFormDialog::confirm);
    }
    resize(480, 340);
}

QString PromptFormDialog::errorMessage() const {
    return error_->text();
}

void PromptFormDialog::confirm() {
    error_->clear();
    error_->hide();
    const std::string name = label_->text().toStdString();
    const std::string content = content_->toPlainText().toStdString();
    if (editing_) {
        Prompt changed = *editing_;
        changed.name = name;
        changed.prompt = content;
        list_.trigger(input::UpdatePrompt{changed.id, changed});
        accept();
        return;
    }
    try {
        list_.addPrompt(name, content);
    } catch (const std::exception& error) {
        // The form stays open with what was typed, and says what went wrong.
        log(error.what());
        error_->setText(QString::fromStdString(error.what()));
        error_->show();
        return;
    }
    accept();
}

}  // namespace folvane
