#pragma once

#include <QMenuBar>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <vector>

#include "conversation/ChatDetailInput.h"
#include "conversation/ChatExportFormat.h"
#include "runtime/ObserverList.h"
#include "shell/menus/ExportPanel.h"
#include "shell/menus/FocusedChat.h"

class QMainWindow;

namespace folvane {

class WindowManager;

// What the menu bar asks of the desktop. Tests put in their own.
struct MenuDesktop {
    // The file panel of "New Chat...", "Open..." and "Add documents...":
    // several PDF files, modeless; `chosen` runs only when the user confirmed.
    using ChooseDocuments = std::function<void(QWidget* parent, const QString& title,
                                               std::function<void(const QStringList&)> chosen)>;

    ChooseDocuments chooseDocuments;
    // Opens an address with the desktop's default handler.
    std::function<void(const QUrl&)> openUrl;
    ExportPanel::ChooseSavePath chooseSavePath;
    ExportPanel::Reveal reveal;

    // The desktop's own dialogs, browser, mail program and file manager.
    static MenuDesktop standard();
};

// The application's menu bar: every window that has one (the start window
// and each chat window) gets its own copy, and every copy sends to the chat
// whose window has the focus (FocusedChat). Without a focused chat its chat
// entries do nothing; the files, the settings and the help still work. The
// View check marks and "Stay On Top" follow the settings both ways, in every
// window at once.
class MenuBar final : public QMenuBar {
    Q_OBJECT
  public:
    // How many chats "Open Recent" lists at most.
    static constexpr int recentChatCount = 20;
    // The title of the Help entries, each with the address it opens.
    struct HelpPage {
        const char* title;
        const char* url;
    };
    static const std::vector<HelpPage>& helpPages();

    explicit MenuBar(WindowManager& windows, QWidget* parent = nullptr);

    // Gives the window its menu bar.
    static MenuBar* install(QMainWindow* window, WindowManager& windows);

    void setDesktop(MenuDesktop desktop) { desktop_ = std::move(desktop); }
    // The "Open Recent" submenu; its entries are made each time it opens.
    QMenu* recentMenu() const { return recent_; }

  private:
    void addFileMenu();
    void addEditMenu();
    void addViewMenu();
    void addGoMenu();
    void addConversationMenu();
    void addWindowMenu();
    void addHelpMenu();

    QMenu* addTopMenu(const QString& title);
    QAction* addEntry(QMenu* menu, const QString& title, const QList<QKeySequence>& keys,
                      std::function<void()> action);
    // An entry that sends one input to the focused chat.
    QAction* addInput(QMenu* menu, const QString& title, const QList<QKeySequence>& keys,
                      ChatDetailInput input);
    // A check mark bound to a setting.
    QAction* addToggle(QMenu* menu, const QString& title, std::function<bool()> read,
                       std::function<void(bool)> write);
    // Runs a settings write; a failure is shown, and the check marks show the
    // stored values again.
    void changeSettings(const std::function<void()>& change);
    void showStoredSettings();

    void fillRecent();
    void openDocuments(const QString& title);
    void addDocuments();
    void confirmDeleteAllMessages();
    void exportChat(ChatExportFormat format);
    void showSearch(SearchScope scope);
    void toggleDocumentViewer();
    void updateDocumentViewerTitle();

    WindowManager& windows_;
    FocusedChat focused_;
    MenuDesktop desktop_;
    QMenu* recent_ = nullptr;
    QAction* documentViewer_ = nullptr;
    std::vector<std::function<void()>> showToggles_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane
