#include "shell/app/WindowManager.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QTimer>

#include "conversation/AppCore.h"
#include "conversation/BrowserTabOpener.h"
#include "conversation/ChatListViewModel.h"
#include "platform/FileUrl.h"
#include "shell/app/GlobalShortcut.h"
#include "shell/chat/ChatWindow.h"
#include "shell/menus/MenuBar.h"
#include "shell/settings/SettingsWindow.h"
#include "shell/start/StartWindow.h"

namespace folvane {

WindowManager::WindowManager(AppCore& core, TranscriptPagePool& transcriptPages, QObject* parent)
    : QObject(parent), core_(core), transcriptPages_(transcriptPages) {
    chatListSubscription_ = core_.chatList().subscribe([this] { closeRemovedChats(); });
    core_.setClipboard(&clipboard_);

    BrowserTabOpener::Callbacks callbacks;
    callbacks.setOpening = [this](bool on) { appState_.setOpeningFromBrowsers(on); };
    callbacks.bringToFront = [this] { showWelcome(); };
    callbacks.openFile = [this](const std::string& fileUrl) {
        return core_.fileOpener().openFiles({fileUrl});
    };
    callbacks.openChat = [this](int64_t id) { openChat(id); };
    callbacks.alert = [this](const std::string& title, const std::string& text) {
        QMessageBox::critical(startWindow(), QString::fromStdString(title),
                              QString::fromStdString(text));
    };
    browserTab_ = std::make_unique<BrowserTabOpener>(*core_.http(), core_.mainQueue(),
                                                     QDir::homePath().toStdString(), callbacks);
    shortcut_ = new GlobalShortcut(core_.preferences(), this);
    connect(shortcut_, &GlobalShortcut::activated, this,
            [this] { openBrowserTab(FrontmostWindow::read()); });
}

WindowManager::~WindowManager() {
    // The fetch's thread stops before the windows its results go to.
    browserTab_.reset();
    core_.setClipboard(nullptr);
    for (auto& [id, window] : chats_) delete window.data();
    delete start_.data();
    delete settings_.data();
}

void WindowManager::showWelcome() {
    if (!start_) {
        start_ = new StartWindow(*this);
        start_->setAttribute(Qt::WA_DeleteOnClose);
        MenuBar::install(start_, *this);
    }
    start_->show();
    start_->raise();
    start_->activateWindow();
}

void WindowManager::openChat(int64_t conversationId) {
    auto& slot = chats_[conversationId];
    if (!slot) {
        slot = new ChatWindow(conversationId, *this);
        slot->setAttribute(Qt::WA_DeleteOnClose);
        MenuBar::install(slot, *this);
    }
    slot->show();
    slot->raise();
    slot->activateWindow();
}

void WindowManager::openBrowserTab(const std::optional<FrontmostWindow>& window) {
    browserTab_->start(window);
}

void WindowManager::showSettings(std::optional<SettingsTab> tab) {
    if (!settings_) {
        settings_ = new SettingsWindow(core_, nullptr, shortcut_);
        settings_->setAttribute(Qt::WA_DeleteOnClose);
        addQuitAction(settings_);
    }
    if (tab) settings_->showTab(*tab);
    settings_->show();
    settings_->raise();
    settings_->activateWindow();
}

void WindowManager::closeRemovedChats() {
    // Only a chat that was listed and is listed no more is gone: a chat just
    // made may open its window before the list shows it.
    std::set<int64_t> listed;
    for (const auto& chat : core_.chatList().state().chats) listed.insert(chat.id());
    for (const int64_t id : listedChats_) {
        if (listed.count(id)) continue;
        if (ChatWindow* window = chatWindow(id)) {
            QTimer::singleShot(0, window, [window] { window->close(); });
        }
    }
    listedChats_ = std::move(listed);
}

void WindowManager::addQuitAction(QWidget* window) {
    auto* quit = new QAction(QStringLiteral("Quit"), window);
    quit->setShortcut(QKeySequence::Quit);
    quit->setShortcutContext(Qt::WindowShortcut);
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    window->addAction(quit);
}

SettingsWindow* WindowManager::settingsWindow() const {
    return settings_.data();
}

StartWindow* WindowManager::startWindow() const {
    return start_.data();
}

ChatWindow* WindowManager::chatWindow(int64_t conversationId) const {
    auto it = chats_.find(conversationId);
    return it == chats_.end() ? nullptr : it->second.data();
}

int64_t WindowManager::openFiles(const QStringList& paths, QWidget* alertParent) {
    std::vector<std::string> urls;
    for (const QString& path : paths) urls.push_back(fileUrlFromPath(path.toStdString()));
    try {
        const auto id = core_.fileOpener().openURLs(urls);
        if (!id) return 0;
        openChat(*id);
        return *id;
    } catch (const std::exception& error) {
        QMessageBox::critical(alertParent, QStringLiteral("Failed"),
                              QString::fromStdString(error.what()));
        return 0;
    }
}

}  // namespace folvane
