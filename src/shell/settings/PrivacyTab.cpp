#include "shell/settings/PrivacyTab.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "documents/Redaction.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

const QString sampleText = QStringLiteral(
    "Hello, I am Jane Doe (jane.doe@example.com).\n"
    "Please call me at +1 415 555 0134.\n"
    "My card 4111 1111 1111 1111 was charged $1,250.00 for the renewal.");

}  // namespace

PrivacyTab::PrivacyTab(AppPreferences& preferences, QWidget* parent)
    : SettingsPage(preferences, parent) {
    auto* layout = new QVBoxLayout(this);

    auto* switches = new QWidget(this);
    QFormLayout* form = makeForm(switches);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(makeHelp(
        QStringLiteral("Redaction replaces what you choose here with [REDACTED] in the text of "
                       "your documents before it is embedded by a remote model, and in your "
                       "messages before they are sent to a model. Documents indexed before a "
                       "change keep their text until you process them again."),
        switches, switches));
    addToggle(form, QStringLiteral("Redact Credit Card Numbers"), Setting::redactCCNumbers);
    addToggle(form, QStringLiteral("Redact Phone Numbers"), Setting::redactPhoneNumbers);
    addToggle(form, QStringLiteral("Redact Email Addresses"), Setting::redactEmailAddresses);
    addToggle(form, QStringLiteral("Hide Monetary Amounts"), Setting::hideMonetaryAmounts);
    layout->addWidget(switches);

    // Made after the switches, so that Tab reaches them first.
    sample_ = new QPlainTextEdit(sampleText, this);
    redacted_ = new QTextBrowser(this);
    auto* preview = new QGroupBox(QStringLiteral("What leaves this machine"), this);
    auto* previewLayout = new QHBoxLayout(preview);
    auto addSide = [&](const QString& title, QWidget* field) {
        auto* side = new QVBoxLayout;
        auto* label = new QLabel(title, preview);
        label->setBuddy(field);
        field->setAccessibleName(QString(title).remove(QLatin1Char(':')));
        side->addWidget(label);
        side->addWidget(field, 1);
        previewLayout->addLayout(side, 1);
    };
    sample_->setTabChangesFocus(true);
    sample_->setAccessibleDescription(QStringLiteral("Type any text to see what redaction keeps"));
    addSide(QStringLiteral("Sample text:"), sample_);
    redacted_->setReadOnly(true);
    redacted_->setOpenLinks(false);
    redacted_->setFocusPolicy(Qt::StrongFocus);
    redacted_->setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
    addSide(QStringLiteral("Sent as:"), redacted_);
    layout->addWidget(preview, 1);

    connect(sample_, &QPlainTextEdit::textChanged, this, &PrivacyTab::showRedacted);
    follow({Setting::redactCCNumbers, Setting::redactPhoneNumbers, Setting::redactEmailAddresses,
            Setting::hideMonetaryAmounts},
           [this] { showRedacted(); });
}

QString PrivacyTab::redactedText() const {
    return redacted_->toPlainText();
}

void PrivacyTab::showRedacted() {
    const std::string text = redactSensitiveContent(sample_->toPlainText().toStdString(),
                                                    redactionOptions(preferences()));
    // Each "[REDACTED]" is marked so that what was taken out stands out.
    QString html = QString::fromStdString(text).toHtmlEscaped();
    html.replace(QStringLiteral("[REDACTED]"),
                 QStringLiteral("<span style=\"background-color: #f2c94c; color: #000000;\">"
                                "[REDACTED]</span>"));
    redacted_->setHtml(QStringLiteral("<div style=\"white-space: pre-wrap;\">%1</div>").arg(html));
}

}  // namespace folvane
