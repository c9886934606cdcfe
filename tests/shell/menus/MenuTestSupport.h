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
inline QString plainTitle(QString text) {
    return text.replace(QLatin1String("&&"), QLatin1String("\x01"))
        .remove(QLatin1Char('&'))
        .replace(QLatin1Char('\x01'), QLatin1Char('&'));
}

// Every entry of the bar with its path of titles, submenus included, in order.
inline std::vector<std::pair<QStringList, QAction*>> allEntries(const QList<QAction*>& actions,
                                                                const QStringList& path = {}) {
    std::vector<std::pair<QStringList, QAction*>> entries;
    for (QAction* action : actions) {
        if (action->isSeparator()) continue;
        const QStringList here = path + QStringList{plainTitle(action->text())};
        entries.emplace_back(here, action);
        if (action->menu()) {
            for (auto& entry : allEntries(action->menu()->actions(), here))
                entries.push_back(entry);
        }
    }
    return entries;
}

inline QAction* menuEntry(const QMenuBar* bar, const QStringList& path) {
    for (const auto& [at, action] : allEntries(bar->actions()))
        if (at == path) return action;
    return nullptr;
}

inline MenuBar* menuBarOf(QMainWindow* window) {
    return qobject_cast<MenuBar*>(window->menuBar());
}

// A chat of one new one-page document with these messages (role, content),
// its window open.
inline ChatWindow* openChat(ShellTestCore& shell, const std::string& name,
                            const std::vector<std::pair<std::string, std::string>>& messages) {
    const std::string path = shell.dir / name;
    writeFile(path, makePdf({"The sample of " + name + " boiled at 81 degrees."}));
    const int64_t id = shell.core.service().createConversation({fileUrlFromPath(path)}).id;
    for (const auto& [role, content] : messages) {
        Message message;
        message.conversationId = id;
        message.role = role;
        message.content = content;
        shell.core.service().insertMessage(message);
    }
    shell.core.chatList().trigger(chat_list_input::Sync{});
    shell.windows.openChat(id);
    return shell.windows.chatWindow(id);
}

inline ChatDetailRef chatOf(ShellTestCore& shell, const ChatWindow* window) {
    return *shell.core.chatList().find(window->conversationId());
}

inline bool activate(QWidget* window) {
    window->show();
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
}

}  // namespace folvane::test
