#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <cstdint>
#include <map>
#include <set>

#include "runtime/ObserverList.h"
#include "shell/app/AppState.h"

namespace folvane {

class AppCore;
class ChatWindow;
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

    StartWindow* startWindow() const;
    ChatWindow* chatWindow(int64_t conversationId) const;

  private:
    // Quit (Ctrl+Q) in every window the manager opens.
    void addQuitAction(QWidget* window);
    // A chat deleted while its window is open takes the window with it.
    void closeRemovedChats();

    AppCore& core_;
    TranscriptPagePool& transcriptPages_;
    AppState appState_;
    QPointer<StartWindow> start_;
    std::map<int64_t, QPointer<ChatWindow>> chats_;
    std::set<int64_t> listedChats_;
    Subscription chatListSubscription_;
};

}  // namespace folvane
