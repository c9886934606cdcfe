#pragma once

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QStringList>
#include <QtTest>
#include <string>
#include <vector>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "platform/FileUrl.h"
#include "shell/chat/ChatWindow.h"
#include "shell/menus/MenuBar.h"
#include "support/ShellTestCore.h"
#include "support/TestPdf.h"

namespace folvane::test {

// A title as the user reads it: "&File" is "File", "LaTeX && Math" is "LaTeX & Math".
inline QString plainTitle(const QString& text) {
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('&')) {
            if (i + 1 < text.size() && text[i + 1] == QLatin1Char('&')) plain += text[++i];
            continue;
        }
        plain += text[i];
    }
    return plain;
}

// The entry at the end of a path of titles, from the bar's top menu down.
inline QAction* menuEntry(const QMenuBar* bar, const QStringList& path) {
    QList<QAction*> actions = bar->actions();
    QAction* found = nullptr;
    for (const QString& title : path) {
        found = nullptr;
        for (QAction* action : actions) {
            if (!action->isSeparator() && plainTitle(action->text()) == title) found = action;
        }
        if (!found) return nullptr;
        actions = found->menu() ? found->menu()->actions() : QList<QAction*>{};
    }
    return found;
}

inline MenuBar* menuBarOf(QMainWindow* window) {
    return qobject_cast<MenuBar*>(window->menuBar());
}

// Every entry of the bar that does something (no submenu, no separator), with
// its path.
inline void collectEntries(const QList<QAction*>& actions, const QStringList& path,
                           std::vector<std::pair<QStringList, QAction*>>& into) {
    for (QAction* action : actions) {
        if (action->isSeparator()) continue;
        const QStringList here = path + QStringList{plainTitle(action->text())};
        if (action->menu())
            collectEntries(action->menu()->actions(), here, into);
        else
            into.emplace_back(here, action);
    }
}

inline std::vector<std::pair<QStringList, QAction*>> allEntries(const QMenuBar* bar) {
    std::vector<std::pair<QStringList, QAction*>> entries;
    collectEntries(bar->actions(), {}, entries);
    return entries;
}

// A one-page PDF in the test's folder.
inline std::string writePaper(ShellTestCore& shell, const std::string& name) {
    const std::string path = shell.dir / name;
    writeFile(path, makePdf({"The sample of " + name + " boiled at 81 degrees."}));
    return path;
}

// A stored message of the chat.
inline void addMessage(ShellTestCore& shell, int64_t chatId, const std::string& role,
                       const std::string& content) {
    Message message;
    message.conversationId = chatId;
    message.role = role;
    message.content = content;
    shell.core.service().insertMessage(message);
}

// A chat of one new document, with these messages (role, content), its window
// open and its view model synced.
inline ChatWindow* openChat(ShellTestCore& shell, const std::string& name,
                            const std::vector<std::pair<std::string, std::string>>& messages) {
    const std::string path = writePaper(shell, name);
    const int64_t id = shell.core.service().createConversation({fileUrlFromPath(path)}).id;
    for (const auto& [role, content] : messages) addMessage(shell, id, role, content);
    shell.core.chatList().trigger(chat_list_input::Sync{});
    shell.windows.openChat(id);
    return shell.windows.chatWindow(id);
}

inline ChatDetailRef chatOf(ShellTestCore& shell, const ChatWindow* window) {
    return *shell.core.chatList().find(window->conversationId());
}

inline bool activate(QWidget* window) {
    window->show();
    window->raise();
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
}

}  // namespace folvane::test
