#include <QShortcut>
#include <QtTest>
#include <map>

#include "menus/MenuTestSupport.h"
#include "shell/start/StartWindow.h"
#include "store/AppPreferences.h"

using namespace folvane;
using test::menuEntry;

class MenuBarTest : public QObject {
    Q_OBJECT
  private slots:
    void everyEntryHasItsTitleAndKeyInOrder() {
        test::ShellTestCore shell;
        MenuBar bar(shell.windows);
        const std::vector<std::pair<QString, const char*>> table = {
            {"File", nullptr},
            {"File > New Chat...", "Ctrl+N"},
            {"File > Open...", "Ctrl+O"},
            {"File > Open Recent", nullptr},
            {"File > Add documents...", nullptr},
            {"File > Quit", "Ctrl+Q"},
            {"Edit", nullptr},
            {"Edit > Regenerate Response", "Ctrl+Shift+R"},
            {"Edit > Copy Last Response", "Ctrl+Shift+C"},
            {"Edit > Edit Last Message...", "Ctrl+Shift+E"},
            {"Edit > Find", nullptr},
            {"Edit > Find > Find in PDF...", "Ctrl+F"},
            {"Edit > Find > Find in Chat...", "Ctrl+Shift+F"},
            {"Edit > Find > Find Next", "Ctrl+G"},
            {"Edit > Find > Find Previous", "Ctrl+Shift+G"},
            {"Edit > Settings...", "Ctrl+,"},
            {"View", nullptr},
            {"View > LaTeX & Math Expression", nullptr},
            {"View > Markdown & Code Syntax", nullptr},
            {"View > Page References", nullptr},
            {"View > Increase Font Size", "Ctrl++"},
            {"View > Reset Font Size", "Ctrl+0"},
            {"View > Decrease Font Size", "Ctrl+-"},
            {"View > Hide Document Viewer", nullptr},
            {"Go", nullptr},
            {"Go > Previous Page", nullptr},
            {"Go > Next Page", nullptr},
            {"Go > Go to Page...", "Ctrl+Alt+G"},
            {"Go > Back", "Ctrl+["},
            {"Go > Forward", "Ctrl+]"},
            {"Conversation", nullptr},
            {"Conversation > Export", nullptr},
            {"Conversation > Export > Export as Markdown", nullptr},
            {"Conversation > Export > Export as HTML", nullptr},
            {"Conversation > Export > Export as JSON", nullptr},
            {"Conversation > Add documents...", nullptr},
            {"Conversation > Reset Context", "Ctrl+Shift+K"},
            {"Conversation > Clear Context Marker", nullptr},
            {"Conversation > Delete All Messages...", nullptr},
            {"Window", nullptr},
            {"Window > Stay On Top", nullptr},
            {"Help", nullptr},
            {"Help > What's news?", nullptr},
            {"Help > Follow us on Twitter", nullptr},
            {"Help > Review", nullptr},
            {"Help > Contact Us", nullptr},
            {"Help > Frequently Asked Questions", nullptr},
            {"Help > Feature Requests", nullptr},
            {"Help > Check for Updates...", nullptr},
        };
        const auto entries = test::allEntries(bar.actions());
        QCOMPARE(entries.size(), table.size());
        for (size_t i = 0; i < table.size(); ++i) {
            const auto& [path, action] = entries[i];
            QCOMPARE(path.join(" > "), table[i].first);
            QCOMPARE(action->shortcut(), QKeySequence(QString::fromLatin1(table[i].second)));
            QVERIFY(action->isEnabled());
        }
        // "+" needs Shift on most keyboards: Ctrl+= enlarges too.
        QVERIFY(menuEntry(&bar, {"View", "Increase Font Size"})
                    ->shortcuts()
                    .contains(QKeySequence(Qt::CTRL | Qt::Key_Equal)));
    }

    void noKeyHasTwoOwnersInAWindow() {
        // Qt runs neither of two shortcuts of one key in one window.
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        ChatWindow* chat = test::openChat(shell, "paper.pdf", {});
        for (QWidget* window :
             {static_cast<QWidget*>(shell.windows.startWindow()), static_cast<QWidget*>(chat)}) {
            std::map<QString, int> owners;
            for (auto* shortcut : window->findChildren<QShortcut*>()) {
                if (shortcut->context() == Qt::WindowShortcut) ++owners[shortcut->key().toString()];
            }
            for (auto* action : window->findChildren<QAction*>()) {
                if (action->shortcutContext() != Qt::WindowShortcut) continue;
                for (const auto& key : action->shortcuts()) ++owners[key.toString()];
            }
            QVERIFY(owners.count("Ctrl+Shift+F") && owners.count("Ctrl+Q"));
            for (const auto& [key, count] : owners) QVERIFY2(count == 1, qPrintable(key));
        }
    }

    void settingEntriesFollowTheSettingsBothWaysInEveryWindow() {
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        ChatWindow* chat = test::openChat(shell, "paper.pdf", {});
        AppPreferences& settings = shell.core.preferences();
        const std::vector<std::tuple<QStringList, bool (AppPreferences::*)() const,
                                     void (AppPreferences::*)(bool)>>
            toggles = {
                {{"View", "LaTeX & Math Expression"},
                 &AppPreferences::useLaTeX,
                 &AppPreferences::setUseLaTeX},
                {{"View", "Markdown & Code Syntax"},
                 &AppPreferences::useMarkdown,
                 &AppPreferences::setUseMarkdown},
                {{"View", "Page References"},
                 &AppPreferences::showPageReferences,
                 &AppPreferences::setShowPageReferences},
                {{"Window", "Stay On Top"},
                 &AppPreferences::alwaysOnTop,
                 &AppPreferences::setAlwaysOnTop},
            };
        QMenuBar* start = test::menuBarOf(shell.windows.startWindow());
        QMenuBar* bar = test::menuBarOf(chat);
        for (const auto& [path, read, write] : toggles) {
            for (bool on : {true, false}) {
                (settings.*write)(on);
                QCOMPARE(menuEntry(start, path)->isChecked(), on);
                QCOMPARE(menuEntry(bar, path)->isChecked(), on);
                // Chosen in one window, it writes the setting and moves the other's mark.
                menuEntry(start, path)->trigger();
                QCOMPARE((settings.*read)(), !on);
                QCOMPARE(menuEntry(bar, path)->isChecked(), !on);
                menuEntry(start, path)->trigger();
            }
        }
        // The font entries have no limit of their own.
        for (const auto& [title, presses, size] :
             std::vector<std::tuple<QString, int, int>>{{"Increase Font Size", 2, 2},
                                                        {"Reset Font Size", 1, 0},
                                                        {"Decrease Font Size", 30, -30}}) {
            for (int i = 0; i < presses; ++i) menuEntry(bar, {"View", title})->trigger();
            QCOMPARE(settings.textSizeAdjustment(), size);
        }
    }

    void openRecentListsTheFirstTwentyChats() {
        test::ShellTestCore shell;
        auto& list = shell.core.chatList();
        list.trigger(chat_list_input::Sync{});
        for (const auto& chat : std::vector<ChatDetailRef>(list.state().chats))
            list.trigger(chat_list_input::RemoveConversation{chat.id()});
        MenuBar bar(shell.windows);
        QMenu* recent = bar.recentMenu();
        emit recent->aboutToShow();
        QVERIFY(recent->actions().isEmpty());

        for (const char* name : {"one.pdf", "two.pdf"})
            test::writeFile(shell.dir / name, test::makePdf({name}));
        const std::string one = fileUrlFromPath(shell.dir / "one.pdf");
        const std::string two = fileUrlFromPath(shell.dir / "two.pdf");
        for (int i = 0; i < 25; ++i)
            shell.core.service().createConversation(i % 2 ? std::vector{one, two}
                                                          : std::vector{one});
        list.trigger(chat_list_input::Sync{});
        emit recent->aboutToShow();
        const auto entries = recent->actions();
        QCOMPARE(entries.size(), MenuBar::recentChatCount);
        // In list order, with one icon for one document and another for several.
        const auto& chats = list.state().chats;
        auto several = [&](int i) {
            return chats[size_t(i)].state().conversation.allBookmarkIds().size() > 1;
        };
        auto icon = [&](int i) { return entries[i]->icon().pixmap(16).toImage(); };
        const int single = several(0) ? 1 : 0;
        QVERIFY(icon(single) != icon(1 - single));
        for (int i = 0; i < entries.size(); ++i) {
            QCOMPARE(entries[i]->text(),
                     QString::fromStdString(chats[size_t(i)].state().conversation.title));
            QVERIFY(icon(i) == icon(several(i) ? 1 - single : single));
        }
        entries[3]->trigger();
        QVERIFY(shell.windows.chatWindow(chats[3].id()));
    }
};

QTEST_MAIN(MenuBarTest)
#include "MenuBarTest.moc"
