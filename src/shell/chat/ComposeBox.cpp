#include "shell/chat/ComposeBox.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QStyle>
#include <QTextCursor>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include "platform/FileUrl.h"
#include "providers/ModelNames.h"
#include "shell/app/DrawnIcons.h"
#include "shell/prompts/PromptLibraryButton.h"
#include "shell/prompts/PromptMime.h"
#include "speech/Recording.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

constexpr int thumbnailSize = 64;

const char* const keyRequiredTitle = "OpenAI API Key Required";
const char* const keyRequiredText =
    "This feature requires an OpenAI API Key. Go to Settings > Model > OpenAI to set up.";
const char* const permissionText =
    "Unable to obtain Audio Record permission. Go to the system's sound settings (Privacy > "
    "Microphone where the desktop has it) to set up.";
const char* const noMicrophoneTitle = "No Microphone";
const char* const noMicrophoneText =
    "Folvane found no microphone. Connect one, or choose an input device in the system's sound "
    "settings.";

QToolButton* makeButton(const QString& text, const QString& help, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setToolTip(help);
    button->setAccessibleName(help);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

// A model can answer: a custom model is the default, or OpenAI has a key.
bool isSetUp(const AppPreferences& preferences) {
    const int64_t id = preferences.customModelId();
    return id > 0 || (id == 0 && !preferences.openAIKey().empty());
}

QString placeholderFor(RecordingState state) {
    switch (state) {
        case RecordingState::Recording:
            return QStringLiteral("Recording...");
        case RecordingState::Transcribing:
            return QStringLiteral("Transcribing...");
        default:
            return QStringLiteral("Send a message (Alt+Enter for new line)");
    }
}

// One image waiting for the next message: its 64 by 64 thumbnail, or the
// warning and the "Failed " line when it cannot be read; and its remove button.
QWidget* makeThumbnail(const std::string& url, QWidget* parent, QToolButton** remove) {
    auto* box = new QWidget(parent);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    const QUrl qurl(QString::fromStdString(url));
    const QString path = qurl.isLocalFile() ? qurl.toLocalFile() : QString::fromStdString(url);
    const QString name = QFileInfo(path).fileName();
    QImageReader reader(path);
    const QImage image = reader.read();
    auto* picture = new QLabel(box);
    picture->setFixedSize(thumbnailSize, thumbnailSize);
    picture->setAlignment(Qt::AlignCenter);
    if (!image.isNull()) {
        picture->setPixmap(QPixmap::fromImage(image.scaled(
            thumbnailSize, thumbnailSize, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
        picture->setAccessibleName(name);
        layout->addWidget(picture);
    } else {
        picture->setPixmap(box->style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(32, 32));
        picture->setAccessibleName(QStringLiteral("Failed to load ") + name);
        layout->addWidget(picture);
        auto* failed = new QLabel(QStringLiteral("Failed to load ") + name, box);
        failed->setObjectName(QStringLiteral("imageFailure"));
        layout->addWidget(failed);
    }
    *remove = makeButton(QStringLiteral("x"), QStringLiteral("Remove ") + name, box);
    layout->addWidget(*remove, 0, Qt::AlignHCenter);
    return box;
}

}  // namespace

ComposeBox::ComposeBox(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent)
    : QWidget(parent), chat_(std::move(chat)), preferences_(preferences) {
    showAlert_ = [](QWidget* owner, const QString& title, const QString& text) {
        QMessageBox::critical(owner, title, text);
    };
    chooseDocuments_ = [](QWidget* owner) {
        return QFileDialog::getOpenFileNames(owner, QStringLiteral("Add Documents"), QString(),
                                             QStringLiteral("PDF documents (*.pdf)"));
    };
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);

    contextRow_ = new QWidget(this);
    auto* contextLayout = new QHBoxLayout(contextRow_);
    contextLayout->setContentsMargins(0, 0, 0, 0);
    auto* contextTitle = new QLabel(QStringLiteral("Context:"), contextRow_);
    contextTitle->setStyleSheet(QStringLiteral("font-weight: bold"));
    contextText_ = new QLabel(contextRow_);
    contextText_->setWordWrap(true);
    contextText_->setTextFormat(Qt::PlainText);
    contextText_->setMaximumHeight(80);
    auto* clearContext =
        makeButton(QStringLiteral("x"), QStringLiteral("Clear Context"), contextRow_);
    clearContext->setIcon(style()->standardIcon(QStyle::SP_DialogCloseButton));
    connect(clearContext, &QToolButton::clicked, this,
            [this] { chat_.trigger(chat_input::ResetMessageContext{}); });
    contextLayout->addWidget(contextTitle, 0, Qt::AlignTop);
    contextLayout->addWidget(contextText_, 1);
    contextLayout->addWidget(clearContext, 0, Qt::AlignTop);
    layout->addWidget(contextRow_);

    imageRow_ = new QWidget(this);
    imageLayout_ = new QHBoxLayout(imageRow_);
    imageLayout_->setContentsMargins(0, 0, 0, 0);
    imageLayout_->addStretch();
    layout->addWidget(imageRow_);

    auto* row = buttonRow_ = new QHBoxLayout;
    addDocuments_ = makeButton(QStringLiteral("+"), QStringLiteral("Add Documents"), this);
    connect(addDocuments_, &QToolButton::clicked, this, &ComposeBox::addDocuments);
    row->addWidget(addDocuments_, 0, Qt::AlignBottom);

    text_ = new QPlainTextEdit(this);
    text_->setAccessibleName(QStringLiteral("Message"));
    text_->setTabChangesFocus(true);
    text_->setFixedHeight(72);
    text_->installEventFilter(this);
    acceptPromptDrops(text_);
    connect(text_, &QPlainTextEdit::textChanged, this, &ComposeBox::renderButtons);
    row->addWidget(text_, 1);

    sendButton_ = makeButton(QStringLiteral("Send Message"), QStringLiteral("Send Message"), this);
    connect(sendButton_, &QToolButton::clicked, this, [this] {
        if (!chat_.state().isBusy()) send();
    });
    stopButton_ =
        makeButton(QStringLiteral("Stop Generating"), QStringLiteral("Stop Generating"), this);
    connect(stopButton_, &QToolButton::clicked, this,
            [this] { chat_.trigger(chat_input::CancelRequest{}); });
    recordButton_ =
        makeButton(QStringLiteral("Record speech"), QStringLiteral("Record speech"), this);
    // Checked while it records: a screen reader tells the second press apart.
    recordButton_->setCheckable(true);
    recordButton_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    connect(recordButton_, &QToolButton::clicked, this, &ComposeBox::toggleRecording);
    for (auto* button : {sendButton_, stopButton_, recordButton_})
        row->addWidget(button, 0, Qt::AlignBottom);
    layout->addLayout(row);

    enterToSend_ = new QCheckBox(QStringLiteral("Enter to send message"), this);
    enterToSend_->setAccessibleName(enterToSend_->text());
    enterToSend_->setChecked(enterToSendMessage_);
    connect(enterToSend_, &QCheckBox::toggled, this, [this](bool on) { enterToSendMessage_ = on; });
    layout->addWidget(enterToSend_, 0, Qt::AlignRight);

    subscription_ = chat_.subscribe([this] { render(); });
    render();
}

QString ComposeBox::text() const {
    return text_->toPlainText();
}

void ComposeBox::setEnterToSendMessage(bool on) {
    enterToSend_->setChecked(on);
}

bool ComposeBox::eventFilter(QObject* watched, QEvent* event) {
    if (watched == text_ && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (key->modifiers() & (Qt::ShiftModifier | Qt::AltModifier)) {
                text_->textCursor().insertText(QStringLiteral("\n"));
            } else {
                returnPressed();
            }
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ComposeBox::setPromptLibrary(PromptListViewModel& prompts) {
    if (promptButton_) return;
    promptButton_ = new PromptLibraryButton(prompts, text_, this);
    buttonRow_->insertWidget(1, promptButton_, 0, Qt::AlignBottom);
    setTabOrder(addDocuments_, promptButton_);
}

void ComposeBox::returnPressed() {
    if (!isSetUp(preferences_)) {
        emit apiKeyNeeded();
        return;
    }
    if (chat_.state().isBusy()) return;
    if (enterToSendMessage_) {
        send();
    } else {
        text_->textCursor().insertText(QStringLiteral("\n"));
    }
}

void ComposeBox::send() {
    const QString message = text();
    if (message.isEmpty()) return;
    const auto& state = chat_.state();
    const std::string provider =
        state.customModel ? state.customModel->provider : std::string(providers::openAI);
    if (provider == providers::openAI && preferences_.openAIKey().empty()) {
        emit apiKeyNeeded();
        return;
    }
    chat_.trigger(chat_input::AddMessage{message.toStdString()});
    QMetaObject::invokeMethod(
        this, [this] { text_->clear(); }, Qt::QueuedConnection);
}

void ComposeBox::toggleRecording() {
    if (recording_) {
        auto recording = std::move(recording_);
        recording_.reset();
        chat_.trigger(chat_input::StopRecording{std::move(recording)});
        renderButtons();
        return;
    }
    const bool onDevice = preferences_.onDeviceSpeech();
    if (preferences_.openAIKey().empty() && !onDevice) {
        showAlert_(this, QString::fromUtf8(keyRequiredTitle), QString::fromUtf8(keyRequiredText));
        renderButtons();
        return;
    }
    const MicrophoneAccess access =
        devices_ ? devices_->makeRecorder()->access() : MicrophoneAccess::missing;
    switch (access) {
        case MicrophoneAccess::restricted:
            showAlert_(this, QStringLiteral("Permission Restricted"),
                       QString::fromUtf8(permissionText));
            renderButtons();
            return;
        case MicrophoneAccess::denied:
            showAlert_(this, QStringLiteral("Permission Denied"),
                       QString::fromUtf8(permissionText));
            renderButtons();
            return;
        case MicrophoneAccess::missing:
            showAlert_(this, QString::fromUtf8(noMicrophoneTitle),
                       QString::fromUtf8(noMicrophoneText));
            renderButtons();
            return;
        case MicrophoneAccess::authorized:
        case MicrophoneAccess::notDetermined:
            break;
    }
    recording_ = std::make_shared<Recording>(*devices_, onDevice);
    chat_.trigger(chat_input::StartRecording{recording_});
    renderButtons();
}

void ComposeBox::addDocuments() {
    const QStringList paths = chooseDocuments_(this);
    if (paths.isEmpty()) return;
    std::vector<std::string> urls;
    for (const QString& path : paths) urls.push_back(fileUrlFromPath(path.toStdString()));
    chat_.trigger(chat_input::AddDocuments{std::move(urls)});
}

void ComposeBox::render() {
    const auto& state = chat_.state();
    const bool quoted = state.contextMode == ChatContextMode::quotedContent;
    contextRow_->setVisible(quoted);
    if (quoted) contextText_->setText(QString::fromStdString(state.stringContext));
    const bool images = state.contextMode == ChatContextMode::images;
    imageRow_->setVisible(images);
    renderImages(images ? state.imageURLs : std::vector<std::string>{});
    text_->setPlaceholderText(placeholderFor(state.recordingState));
    // A finished dictation lands at the end of the field as it stands.
    if (state.recordingState != shownRecordingState_) {
        shownRecordingState_ = state.recordingState;
        if (state.recordingState == RecordingState::Completed &&
            !state.latestTranscriptionContent.empty()) {
            QTextCursor cursor(text_->document());
            cursor.movePosition(QTextCursor::End);
            cursor.insertText(QString::fromStdString(state.latestTranscriptionContent));
        }
    }
    renderButtons();
}

void ComposeBox::renderImages(const std::vector<std::string>& urls) {
    if (urls == shownImages_) return;
    shownImages_ = urls;
    while (imageLayout_->count() > 1) {
        // Later: the click that removed an image may still be on its way out.
        auto* item = imageLayout_->takeAt(0);
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    int index = 0;
    for (const auto& url : urls) {
        QToolButton* remove = nullptr;
        imageLayout_->insertWidget(index++, makeThumbnail(url, imageRow_, &remove));
        connect(remove, &QToolButton::clicked, this,
                [this, url] { chat_.trigger(chat_input::RemoveImages{{url}}); });
    }
}

void ComposeBox::renderButtons() {
    const bool empty = text_->toPlainText().isEmpty();
    const bool busy = chat_.state().isBusy();
    const bool recording = recording_ != nullptr;
    recordButton_->setVisible(empty || recording);
    recordButton_->setChecked(recording);
    recordButton_->setIcon(recording ? QIcon::fromTheme(QStringLiteral("media-playback-stop"),
                                                        style()->standardIcon(QStyle::SP_MediaStop))
                                     : QIcon::fromTheme(QStringLiteral("audio-input-microphone"),
                                                        drawn_icons::microphone(*this)));
    sendButton_->setVisible(!empty && !busy);
    stopButton_->setVisible(!empty && busy);
    enterToSend_->setVisible(!empty);
}

}  // namespace folvane
