#include "shell/chat/TranscriptView.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontInfo>
#include <QMenu>
#include <QMessageBox>
#include <QPalette>
#include <QTimer>
#include <QVBoxLayout>
#include <QWebEngineView>
#include <initializer_list>
#include <iostream>
#include <optional>

#include "conversation/MessageStylesheet.h"
#include "conversation/TranscriptRows.h"
#include "shell/chat/transcript/MessageEditDialog.h"
#include "shell/chat/transcript/TranscriptBridge.h"
#include "shell/chat/transcript/TranscriptPage.h"
#include "shell/chat/transcript/TranscriptPagePool.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

QString base64(const std::string& text) {
    return QString::fromLatin1(QByteArray::fromStdString(text).toBase64());
}

// What `now` adds to the text of `before` when nothing else of the row
// changed; nothing when the row changed otherwise.
std::optional<std::string> grownText(const nlohmann::ordered_json& before,
                                     const nlohmann::ordered_json& now) {
    if (!before.is_object() || !now.is_object() || before.size() != now.size()) return {};
    const auto was = before.find("text");
    const auto is = now.find("text");
    if (was == before.end() || is == now.end() || !was->is_string() || !is->is_string()) return {};
    for (auto it = now.begin(); it != now.end(); ++it) {
        if (it.key() == "text") continue;
        const auto other = before.find(it.key());
        if (other == before.end() || *other != it.value()) return {};
    }
    const auto& old = was->get_ref<const std::string&>();
    const auto& text = is->get_ref<const std::string&>();
    if (text.size() <= old.size() || text.compare(0, old.size(), old) != 0) return {};
    return text.substr(old.size());
}

// The reading-aloud actions of a message's row: "Speak" (or "Stop Speak"
// while it plays, marked busy while its speech downloads) after copying, and "Save
// Speech..." once it has a speech file.
void addSpeechActions(nlohmann::ordered_json& row, const ChatDetailState& state,
                      const Message& message) {
    auto& actions = row["actions"];
    if (!actions.is_array()) return;
    const bool playing = state.playingMessageID && *state.playingMessageID == message.id;
    const char* speak = playing ? "Stop Speak" : "Speak";
    nlohmann::ordered_json action = {{"action", "speak"}, {"help", speak}, {"title", speak}};
    if (playing && state.downloadingSpeech) action["busy"] = true;
    actions.insert(actions.empty() ? actions.end() : actions.begin() + 1, std::move(action));
    if (message.speechFileURL && !message.speechFileURL->empty()) {
        actions.push_back({{"action", "saveSpeech"},
                           {"help", "Save speech to File"},
                           {"title", "Save Speech..."}});
    }
}

// A stored file reference as a path: a file URL or a plain path.
QString localPath(const std::string& reference) {
    const QString text = QString::fromStdString(reference);
    const QUrl url(text);
    return url.isLocalFile() ? url.toLocalFile() : text;
}

// Whether a notified key is that of one of the settings.
bool isKeyOf(std::string_view key, std::initializer_list<Setting> settings) {
    for (const Setting setting : settings)
        if (settingDescriptor(setting).key == key) return true;
    return false;
}

}  // namespace

TranscriptView::TranscriptView(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent,
                               TranscriptPagePool* pages)
    : QWidget(parent),
      chat_(std::move(chat)),
      preferences_(preferences),
      view_(new QWebEngineView(this)),
      page_(pages ? pages->take(view_) : new TranscriptPage(view_)),
      bridge_(page_->bridge()) {
    showAlert_ = [](QWidget* owner, const QString& title, const QString& text) {
        QMessageBox::critical(owner, title, text);
    };
    chooseSaveFile_ = [](QWidget* owner, const QString& title, const QString& name,
                         const QString& filter) {
        return QFileDialog::getSaveFileName(owner, title, name, filter);
    };
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
    view_->setPage(page_);
    view_->setContextMenuPolicy(Qt::NoContextMenu);
    view_->setAccessibleName(tr("Messages"));
    page_->setBackgroundColor(palette().color(QPalette::Base));

    connect(page_, &QWebEnginePage::loadStarted, this, [this] { ready_ = false; });
    connect(bridge_, &TranscriptBridge::pageReady, this, &TranscriptView::start);
    connect(bridge_, &TranscriptBridge::sizeChanged, this, [this](const QString& key, double h) {
        auto& height = heights_[key];
        if (height != h) height = h;
    });
    connect(bridge_, &TranscriptBridge::rendered, this,
            [this](const QString& key, const QString& text) {
                rendered_[key] = text;
                emit rowRendered(key);
            });
    connect(bridge_, &TranscriptBridge::renderedTail, this,
            [this](const QString& key, int kept, const QString& tail) {
                auto& text = rendered_[key];
                if (kept > text.size()) return;
                text.truncate(kept);
                text += tail;
                emit rowRendered(key);
            });
    connect(bridge_, &TranscriptBridge::framePainted, this,
            [this](int updates, const QString& lastKey) {
                paintedUpdates_ = updates;
                emit framePainted(updates, lastKey);
            });
    connect(bridge_, &TranscriptBridge::copyRequested, this,
            [](const QString& text) { QApplication::clipboard()->setText(text); });
    connect(bridge_, &TranscriptBridge::actionRequested, this, &TranscriptView::runAction);
    connect(bridge_, &TranscriptBridge::contextMenuRequested, this,
            &TranscriptView::showContextMenu);

    subscription_ = chat_.subscribe([this] { schedule(); });
    preferencesSubscription_ = preferences_.subscribe([this](std::string_view key) {
        if (!ready_) return;
        // The settings that the stylesheet and the code themes are made from.
        if (isKeyOf(key, {Setting::textSizeAdjustment, Setting::fontLeading, Setting::fontName,
                          Setting::codeFontName, Setting::codeColorSchemeLight,
                          Setting::codeColorSchemeDark, Setting::colorScheme}))
            pushStyle();
        // Markdown, mathematics and the page buttons change every row: the
        // page gets all of them again.
        if (isKeyOf(key, {Setting::useMarkdown, Setting::useLaTeX, Setting::showPageReferences})) {
            sent_.clear();
            schedule();
        }
    });
    // A page that a pool loaded ahead is ready now.
    if (bridge_->isReady()) start();
}

void TranscriptView::start() {
    ready_ = true;
    sent_.clear();
    sentOrder_.clear();
    pushStyle();
    push();
    emit pageReady();
}

int TranscriptView::pageLoads() const {
    return page_->loads();
}

double TranscriptView::rowHeight(const QString& key) const {
    auto it = heights_.find(key);
    return it == heights_.end() ? 0 : it->second;
}

QString TranscriptView::renderedText(const QString& key) const {
    auto it = rendered_.find(key);
    return it == rendered_.end() ? QString() : it->second;
}

void TranscriptView::changeEvent(QEvent* event) {
    // The desktop's colour scheme changed: follow it when the setting says so.
    if (event->type() == QEvent::ApplicationPaletteChange && ready_) pushStyle();
    QWidget::changeEvent(event);
}

bool TranscriptView::isDark() const {
    switch (preferences_.colorScheme()) {
        case AppColorScheme::light:
            return false;
        case AppColorScheme::dark:
            return true;
        case AppColorScheme::system:
            break;
    }
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

void TranscriptView::pushStyle() {
    // The page measures in CSS pixels: the desktop's font size as the page
    // would draw it.
    const int systemSize = QFontInfo(QApplication::font()).pixelSize();
    const auto style = MessageStylesheet::from(preferences_, systemSize > 0 ? systemSize : 13);
    const bool dark = isDark();
    page_->setBackgroundColor(dark ? QColor(0x1e, 0x1e, 0x1e) : QColor(Qt::white));
    page_->runJavaScript(QStringLiteral("window.transcript.setStyle('%1', '%2', '%3', %4)")
                             .arg(base64(style.stylesheet),
                                  QString::fromStdString(style.lightTheme),
                                  QString::fromStdString(style.darkTheme),
                                  dark ? QStringLiteral("true") : QStringLiteral("false")));
}

void TranscriptView::schedule() {
    if (scheduled_) return;
    scheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        scheduled_ = false;
        push();
    });
}

void TranscriptView::push() {
    if (!ready_) return;
    const auto rows = TranscriptRows::build(
        chat_.state(),
        {preferences_.useMarkdown(), preferences_.useLaTeX(), preferences_.showPageReferences()});
    nlohmann::ordered_json order = nlohmann::ordered_json::array();
    nlohmann::ordered_json changed = nlohmann::ordered_json::object();
    std::vector<std::string> keys;
    std::map<std::string, nlohmann::ordered_json> now;
    const auto& state = chat_.state();
    for (auto row : rows) {
        if (row.content.contains("actions")) {
            if (const Message* message = TranscriptRows::findMessage(state, row.key))
                addSpeechActions(row.content, state, *message);
        }
        keys.push_back(row.key);
        order.push_back(row.key);
        auto it = sent_.find(row.key);
        if (it == sent_.end()) {
            changed[row.key] = row.content;
        } else if (it->second != row.content) {
            // A streamed row sends only what its text gained.
            if (auto more = grownText(it->second, row.content))
                changed[row.key] = {{"grow", std::move(*more)}};
            else
                changed[row.key] = row.content;
        }
        now[row.key] = row.content;
    }
    if (changed.empty() && keys == sentOrder_) return;
    sent_ = std::move(now);
    sentOrder_ = std::move(keys);
    const nlohmann::ordered_json payload = {{"order", order}, {"rows", changed}};
    ++updatesSent_;
    page_->runJavaScript(
        QStringLiteral("window.transcript.apply('%1')")
            .arg(base64(payload.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace))));
}

void TranscriptView::runAction(const QString& name, const QString& key, int index) {
    namespace in = chat_input;
    if (name == "regenerateLast") return chat_.trigger(in::Regenerate{});
    if (name == "continue") return chat_.trigger(in::ContinueGenerating{});
    const auto& state = chat_.state();
    const Message* message = TranscriptRows::findMessage(state, key.toStdString());
    if (!message) return;
    if (name == "goToReference") {
        if (message->references && index >= 0 &&
            index < static_cast<int>(message->references->size()))
            chat_.trigger(in::GoToReference{(*message->references)[index]});
    } else if (name == "deleteMarker") {
        chat_.trigger(in::DeleteMessage{message->id});
    } else if (name == "openSearch") {
        QDesktopServices::openUrl(QUrl(QString::fromStdString(
            TranscriptRows::searchUrl(TranscriptRows::searchQuery(*message)))));
    } else if (name == "previewImage") {
        if (index >= 0 && index < static_cast<int>(message->imageURLs.size())) {
            const QUrl url(QString::fromStdString(message->imageURLs[index]));
            if (url.isLocalFile()) QDesktopServices::openUrl(url);
        }
    } else if (name == "copy") {
        copyMessage(*message);
    } else if (name == "edit") {
        editMessage(*message);
    } else if (name == "regenerate") {
        chat_.trigger(in::Regenerate{});
    } else if (name == "save") {
        saveMessage(*message);
    } else if (name == "delete") {
        deleteMessage(*message);
    } else if (name == "speak") {
        speak(*message);
    } else if (name == "saveSpeech") {
        saveSpeech(*message);
    }
}

void TranscriptView::showContextMenu(const QString& key) {
    auto it = sent_.find(key.toStdString());
    if (it == sent_.end() || !it->second.contains("actions")) return;
    QMenu menu(this);
    for (const auto& action : it->second["actions"]) {
        const QString name = QString::fromStdString(action["action"].get<std::string>());
        menu.addAction(QString::fromStdString(action["title"].get<std::string>()), this,
                       [this, name, key] { runAction(name, key, -1); });
    }
    menu.exec(QCursor::pos());
}

void TranscriptView::copyMessage(const Message& message) {
    QApplication::clipboard()->setText(QString::fromStdString(message.content));
}

void TranscriptView::editMessage(const Message& message) {
    const int64_t id = message.id;
    MessageEditDialog dialog(QString::fromStdString(message.content), this);
    if (dialog.exec() != QDialog::Accepted) return;
    chat_.trigger(chat_input::UpdateMessageContent{id, dialog.text().toStdString(), false});
}

void TranscriptView::saveMessage(const Message& message) {
    const QString content = QString::fromStdString(message.content);
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Save message to file"), tr("Untitled.txt"));
    if (path.isEmpty()) return;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(content.toUtf8()) < 0) {
        std::cout << "Failed to save file: " << file.errorString().toStdString() << std::endl;
    }
}

void TranscriptView::speak(const Message& message) {
    const auto& state = chat_.state();
    if (state.playingMessageID && *state.playingMessageID == message.id) {
        chat_.trigger(chat_input::StopSpeak{});
        return;
    }
    // On-device reading needs no account.
    if (preferences_.openAIKey().empty() && !preferences_.onDeviceSpeech()) {
        showAlert_(this, tr("OpenAI API Key Required"),
                   tr("This feature requires an OpenAI API Key. Go to Settings > Model > OpenAI "
                      "to set up."));
        return;
    }
    chat_.trigger(chat_input::Speak{message});
}

void TranscriptView::saveSpeech(const Message& message) {
    if (!message.speechFileURL) return;
    const QString source = localPath(*message.speechFileURL);
    QString name = QFileInfo(source).fileName();
    if (name.isEmpty()) name = QStringLiteral("Speech.mp3");
    const QString path =
        chooseSaveFile_(this, tr("Save message to file"), name, tr("MP3 audio (*.mp3)"));
    if (path.isEmpty()) return;
    // QFile::copy does not replace: the save dialog has asked already.
    if (QFile::exists(path) && !QFile::remove(path)) {
        showAlert_(this, tr("Save Speech"),
                   tr("Failed to save file: ") + tr("%1 cannot be replaced.").arg(path));
        return;
    }
    QFile file(source);
    if (!file.copy(path)) {
        showAlert_(this, tr("Save Speech"), tr("Failed to save file: ") + file.errorString());
    }
}

void TranscriptView::deleteMessage(const Message& message) {
    const int64_t id = message.id;
    const auto answer = QMessageBox::question(this, tr("Delete Message"), tr("Confirm Deletion?"),
                                              QMessageBox::Yes | QMessageBox::No);
    if (answer == QMessageBox::Yes) chat_.trigger(chat_input::DeleteMessage{id});
}

}  // namespace folvane
