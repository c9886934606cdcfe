#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "platform/FrontmostWindow.h"
#include "runtime/ObserverList.h"
#include "shell/app/AppState.h"
#include "shell/app/QtClipboard.h"
#include "shell/settings/SettingsWindow.h"

namespace folvane {

class AppCore;
class BrowserTabOpener;
class ChatWindow;
class GlobalShortcut;
class StartWindow;
class TranscriptPagePool;

// Which windows are open: the start window, and at most one window per chat.
// Asking for a chat whose window is open brings that window forward. Closing
// every window leaves the application running (it ends by Quit).
class WindowManager final : public QObject {
    Q_OBJECT
  public:
    WindowManager(AppCore& core, TranscriptPagePool& transcriptPages, QObject* parent = nullptr);
    ~WindowManager() override;

    AppCore& core() { return core_; }
    AppState& appState() { return appState_; }
    // Transcript pages loaded ahead for the chat windows.
    TranscriptPagePool& transcriptPages() { return transcriptPages_; }

    void showWelcome();
    void openChat(int64_t conversationId);
    // Makes (or finds) the chat of these files and opens its window; a failure
    // is shown as the "Failed" alert. Returns the chat's id, or 0.
    int64_t openFiles(const QStringList& paths, QWidget* alertParent = nullptr);

    // Opens the PDF of the browser tab in front as a chat: the global
    // shortcut's action. The window is the one that was in front when the
    // key was let go, read before anything of ours comes forward. Failures
    // show their critical alert.
    void openBrowserTab(const std::optional<FrontmostWindow>& window);
    GlobalShortcut* globalShortcut() const { return shortcut_; }

    // Opens the settings, or brings them forward, on the given tab or on the
    // one shown last.
    void showSettings(std::optional<SettingsTab> tab = std::nullopt);

    StartWindow* startWindow() const;
    ChatWindow* chatWindow(int64_t conversationId) const;
    SettingsWindow* settingsWindow() const;

  private:
    // Quit (Ctrl+Q) in the settings window; the other windows have it in
    // their menu bar.
    void addQuitAction(QWidget* window);
    // A chat deleted while its window is open takes the window with it.
    void closeRemovedChats();

    AppCore& core_;
    TranscriptPagePool& transcriptPages_;
    AppState appState_;
    QtClipboard clipboard_;
    QPointer<StartWindow> start_;
    QPointer<SettingsWindow> settings_;
    std::map<int64_t, QPointer<ChatWindow>> chats_;
    std::set<int64_t> listedChats_;
    Subscription chatListSubscription_;
    GlobalShortcut* shortcut_ = nullptr;
    std::unique_ptr<BrowserTabOpener> browserTab_;
};

}  // namespace folvane
