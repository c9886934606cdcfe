#include "shell/chat/OpenAIKeyModalView.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "shell/settings/models/QuotaAlert.h"

namespace folvane {

OpenAIKeyModalView::OpenAIKeyModalView(std::unique_ptr<Model> viewModel, QWidget* parent)
    : QDialog(parent), viewModel_(std::move(viewModel)) {
    setWindowTitle(QStringLiteral("Enter your OpenAI API Key"));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(QStringLiteral("Enter your OpenAI API Key"), this);
    QFont font = title->font();
    font.setBold(true);
    title->setFont(font);
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
    error_ = new QLabel(this);
    error_->setTextFormat(Qt::PlainText);
    error_->setWordWrap(true);
    error_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    error_->setStyleSheet(QStringLiteral("color: #c62828"));
    error_->hide();
    layout->addWidget(error_);

    auto* row = new QHBoxLayout;
    busy_ = new QProgressBar(this);
    busy_->setRange(0, 0);
    busy_->setTextVisible(false);
    busy_->setMaximumWidth(90);
    busy_->setAccessibleName(QStringLiteral("Checking"));
    busy_->hide();
    row->addWidget(busy_);
    auto* buttons = new QDialogButtonBox(this);
    cancel_ = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    save_ = buttons->addButton(QStringLiteral("Save API Key"), QDialogButtonBox::AcceptRole);
    cancel_->setAccessibleName(cancel_->text());
    save_->setAccessibleName(save_->text());
    save_->setDefault(true);
    row->addWidget(buttons, 1);
    layout->addLayout(row);

    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(save_, &QPushButton::clicked, this, [this] {
        ProviderFormFields fields;
        fields.apiKey = key_->text().toStdString();
        viewModel_->trigger(provider_form_input::CheckAndSave{std::move(fields)});
    });
    subscription_ = viewModel_->subscribe([this] { render(); });
    render();
}

OpenAIKeyModalView::~OpenAIKeyModalView() {
    subscription_.cancel();
    if (quotaAlert_) quotaAlert_->disconnect();
}

void OpenAIKeyModalView::render() {
    const auto& state = viewModel_->state();
    save_->setEnabled(!state.isCheckingAPIKey);
    busy_->setVisible(state.isCheckingAPIKey);
    // The view model words the failure with its "ERROR: " already.
    const bool failed = !state.isCheckingAPIKey && !state.errorMessage.empty();
    error_->setText(failed ? QString::fromStdString(state.errorMessage) : QString());
    error_->setVisible(failed);
    if (state.showQuotaAlert && !quotaAlert_) {
        quotaAlert_ = openQuotaAlert(
            this, [this] { viewModel_->trigger(provider_form_input::DismissError{}); });
    }
    if (state.finished && result() != QDialog::Accepted) {
        key_->clear();
        accept();
    }
}

}  // namespace folvane
