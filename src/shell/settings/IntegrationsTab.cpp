#include "shell/settings/IntegrationsTab.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "store/AppPreferences.h"

namespace folvane {

IntegrationsTab::IntegrationsTab(AppPreferences& preferences, QWidget* parent)
    : SettingsPage(preferences, parent) {
    auto* layout = new QVBoxLayout(this);

    auto* search = new QGroupBox(QStringLiteral("Web Search"), this);
    QFormLayout* form = makeForm(search);
    form->addRow(makeHelp(QStringLiteral("Web search asks a Google Programmable Search Engine. "
                                         "Enter the engine's ID and an API key of your Google "
                                         "Cloud project."),
                          search, search));

    // A text setting's field: every edit is written at once; when it cannot
    // be kept, what the user typed stays in the field.
    auto addField = [&](const QString& label, Setting setting) {
        auto* field = new QLineEdit(search);
        const QString name = QString(label).remove(QLatin1Char(':'));
        field->setAccessibleName(name);
        addRow(form, label, field);
        connect(field, &QLineEdit::textEdited, this, [this, setting](const QString& text) {
            write([&] { this->preferences().setValue(setting, text.toStdString()); }, false);
        });
        follow({setting}, [this, field, setting] {
            const QString stored =
                QString::fromStdString(this->preferences().value(setting).get<std::string>());
            if (field->text() == stored) return;
            const QSignalBlocker blocker(field);
            field->setText(stored);
        });
        return field;
    };
    addField(QStringLiteral("Search Engine ID:"), Setting::googleSearchEngineId);
    QLineEdit* key = addField(QStringLiteral("API Key:"), Setting::googleSearchApiKey);
    key->setEchoMode(QLineEdit::Password);
    key->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText);
    layout->addWidget(search);

    // The browsers' shortcut: its place, filled in a later version.
    auto* browsers = new QGroupBox(this);
    browsers->setObjectName(QStringLiteral("integration-web-browers"));
    browsers->setAccessibleName(QStringLiteral("Web Browsers Integration"));
    auto* browsersLayout = new QVBoxLayout(browsers);
    auto* heading = new QHBoxLayout;
    auto* title = new QLabel(QStringLiteral("Web Browsers Integration"), browsers);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto* badge = new QLabel(QStringLiteral("EXPERIMENTAL"), browsers);
    badge->setStyleSheet(
        QStringLiteral("QLabel { color: #b35c00; border: 1px solid #b35c00; border-radius: 4px; "
                       "padding: 0px 4px; font-size: 8pt; font-weight: bold; }"));
    heading->addWidget(title);
    heading->addWidget(badge);
    heading->addStretch();
    browsersLayout->addLayout(heading);
    auto* about = new QLabel(
        QStringLiteral("Quickly open the PDF in your web browser with Folvane using a shortcut "
                       "key.\n\nThe shortcut comes in a later version of Folvane."),
        browsers);
    about->setWordWrap(true);
    browsersLayout->addWidget(about);
    layout->addWidget(browsers);
    layout->addStretch();
}

}  // namespace folvane
