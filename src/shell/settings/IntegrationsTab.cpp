#include "shell/settings/IntegrationsTab.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "shell/app/GlobalShortcut.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

// A key that another program's typing would not miss: one with Ctrl, Alt or
// Super, or a function key.
bool isShortcutKey(const QKeyCombination& chord) {
    const auto key = chord.key();
    if (key >= Qt::Key_F1 && key <= Qt::Key_F35) return true;
    return (chord.keyboardModifiers() &
            (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0;
}

}  // namespace

IntegrationsTab::IntegrationsTab(AppPreferences& preferences, GlobalShortcut* shortcut,
                                 QWidget* parent)
    : SettingsPage(preferences, parent), shortcut_(shortcut) {
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

    // The browsers' shortcut: the global key that opens the browser's PDF.
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
        QStringLiteral(
            "Quickly open the PDF in your web browser with Folvane using a shortcut key.\n\n"
            "Supported Browsers: Firefox & Chromium-family browsers (Chromium, Google Chrome, "
            "Brave, Microsoft Edge, Vivaldi).\nSupported File Type: PDF\n\n"
            "A Chromium-family browser tells Folvane its tab only when it was started with "
            "--remote-debugging-port=9222."),
        browsers);
    about->setWordWrap(true);
    about->setTextInteractionFlags(Qt::TextSelectableByMouse);
    browsersLayout->addWidget(about);

    QFormLayout* shortcutForm = makeForm(nullptr);
    auto* row = new QWidget(browsers);
    auto* recorderRow = new QHBoxLayout(row);
    recorderRow->setContentsMargins(0, 0, 0, 0);
    recorder_ = new QKeySequenceEdit(row);
    recorder_->setObjectName(QStringLiteral("openWithFolvane"));
    recorder_->setAccessibleName(QStringLiteral("Shortcut"));
    recorder_->setToolTip(QStringLiteral("Click, then press the keys of the shortcut."));
    // The recorder types into a line edit of its own, which a screen reader
    // reaches; Tab and Shift+Tab leave it, as from any field, instead of being
    // recorded.
    recorder_->installEventFilter(this);
    for (auto* field : recorder_->findChildren<QLineEdit*>()) {
        field->setAccessibleName(QStringLiteral("Shortcut"));
        field->installEventFilter(this);
    }
    auto* clear = new QPushButton(QStringLiteral("Clear"), row);
    clear->setAccessibleName(QStringLiteral("Clear"));
    recorderRow->addWidget(recorder_, 1);
    recorderRow->addWidget(clear);
    addRow(shortcutForm, QStringLiteral("Shortcut:"), row, recorder_);
    browsersLayout->addLayout(shortcutForm);

    refused_ = new QLabel(QStringLiteral("Use a key with Ctrl, Alt or Super, or a function key."),
                          browsers);
    refused_->setWordWrap(true);
    refused_->setVisible(false);
    browsersLayout->addWidget(refused_);
    taken_ = new QLabel(QStringLiteral("Another program already uses this shortcut. Choose "
                                       "another, or bind \"folvane --activate\" in your desktop's "
                                       "keyboard settings."),
                        browsers);
    taken_->setObjectName(QStringLiteral("shortcut-taken"));
    taken_->setWordWrap(true);
    taken_->setStyleSheet(QStringLiteral("QLabel { color: #d70015; }"));
    taken_->setVisible(false);
    browsersLayout->addWidget(taken_);
    unavailable_ = makeHelp(QStringLiteral("This desktop does not let Folvane listen for a key "
                                           "itself: bind \"folvane --activate\" in your desktop's "
                                           "keyboard settings."),
                            recorder_, browsers);
    unavailable_->setVisible(false);
    browsersLayout->addWidget(unavailable_);

    connect(recorder_, &QKeySequenceEdit::editingFinished, this,
            [this] { record(recorder_->keySequence()); });
    connect(clear, &QPushButton::clicked, this, [this] { record(QKeySequence()); });
    follow({Setting::openWithFolvane}, [this] {
        const QKeySequence stored = GlobalShortcut::storedKey(this->preferences());
        if (recorder_->keySequence() != stored) recorder_->setKeySequence(stored);
    });
    if (shortcut_) {
        connect(shortcut_, &GlobalShortcut::statusChanged, this, &IntegrationsTab::showStatus);
    }
    showStatus();
    layout->addWidget(browsers);
    layout->addStretch();
}

IntegrationsTab::~IntegrationsTab() {
    // The recorder, losing the focus as the widgets go, ends its recording:
    // by then nothing here may store it.
    recorder_->disconnect(this);
}

bool IntegrationsTab::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool plain = (key->modifiers() & ~Qt::ShiftModifier) == Qt::NoModifier;
        if (plain && (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab)) {
            focusNextPrevChild(key->key() == Qt::Key_Tab &&
                               !(key->modifiers() & Qt::ShiftModifier));
            return true;
        }
    }
    return SettingsPage::eventFilter(watched, event);
}

void IntegrationsTab::record(const QKeySequence& key) {
    const bool refused = !key.isEmpty() && !isShortcutKey(key[0]);
    refused_->setVisible(refused);
    if (refused) {
        recorder_->setKeySequence(GlobalShortcut::storedKey(preferences()));
        return;
    }
    write([&] { GlobalShortcut::store(preferences(), key); });
    // The recorder shows what is stored: the first chord only.
    showStored();
}

void IntegrationsTab::showStatus() {
    const auto status = shortcut_ ? shortcut_->status() : GlobalShortcut::Status::none;
    taken_->setVisible(status == GlobalShortcut::Status::taken);
    unavailable_->setVisible(status == GlobalShortcut::Status::unavailable);
}

}  // namespace folvane
