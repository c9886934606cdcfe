#include <QShortcut>
#include <QtTest>
#include <map>
#include <set>

#include "menus/MenuTestSupport.h"
#include "shell/start/StartWindow.h"
#include "store/AppPreferences.h"

using namespace folvane;
using test::menuEntry;

namespace {

QKeySequence keys(const char* text) {
    return text ? QKeySequence(QString::fromLatin1(text)) : QKeySequence();
}

// Which window-wide keys a window answers: its own shortcuts and its menu
// bar's, each with how many of them take it.
std::map<QString, int> windowKeys(QWidget* window) {
    std::map<QString, int> count;
    auto add = [&](const QKeySequence& key) {
        if (!key.isEmpty()) ++count[key.toString(QKeySequence::PortableText)];
    };
    for (auto* shortcut : window->findChildren<QShortcut*>()) {
        if (shortcut->context() == Qt::WindowShortcut && shortcut->isEnabled())
            add(shortcut->key());
    }
    for (auto* action : window->findChildren<QAction*>()) {
        if (action->shortcutContext() != Qt::WindowShortcut) continue;
        // A menu's entries are live; other actions only while their widget is
        // in the window.
        bool live = false;
        for (QObject* user : action->associatedObjects())
            live = live || qobject_cast<QMenu*>(user) || user == window;
        if (!live) continue;
        for (const auto& key : action->shortcuts()) add(key);
    }
    return count;
}

}  // namespace

class MenuBarTest : public QObject {
    Q_OBJECT
  private slots:
    void everyEntryHasItsTitleAndKey() {
        test::ShellTestCore shell;
        MenuBar bar(shell.windows);
        QStringList menus;
        for (auto* action : bar.actions()) menus << test::plainTitle(action->text());
        QCOMPARE(menus,
                 (QStringList{"File", "Edit", "View", "Go", "Conversation", "Window", "Help"}));

        struct Entry {
            QStringList path;
            const char* key;
        };
        const std::vector<Entry> table = {
            {{"File", "New Chat..."}, "Ctrl+N"},
            {{"File", "Open..."}, "Ctrl+O"},
            {{"File", "Open Recent"}, nullptr},
            {{"File", "Add documents..."}, nullptr},
            {{"File", "Quit"}, "Ctrl+Q"},
            {{"Edit", "Regenerate Response"}, "Ctrl+Shift+R"},
            {{"Edit", "Copy Last Response"}, "Ctrl+Shift+C"},
            {{"Edit", "Edit Last Message..."}, "Ctrl+Shift+E"},
            {{"Edit", "Find", "Find in PDF..."}, "Ctrl+F"},
            {{"Edit", "Find", "Find in Chat..."}, "Ctrl+Shift+F"},
            {{"Edit", "Find", "Find Next"}, "Ctrl+G"},
            {{"Edit", "Find", "Find Previous"}, "Ctrl+Shift+G"},
            {{"Edit", "Settings..."}, "Ctrl+,"},
            {{"View", "LaTeX & Math Expression"}, nullptr},
            {{"View", "Markdown & Code Syntax"}, nullptr},
            {{"View", "Page References"}, nullptr},
            {{"View", "Increase Font Size"}, "Ctrl++"},
            {{"View", "Reset Font Size"}, "Ctrl+0"},
            {{"View", "Decrease Font Size"}, "Ctrl+-"},
            {{"View", "Hide Document Viewer"}, nullptr},
            {{"Go", "Previous Page"}, nullptr},
            {{"Go", "Next Page"}, nullptr},
            {{"Go", "Go to Page..."}, "Ctrl+Alt+G"},
            {{"Go", "Back"}, "Ctrl+["},
            {{"Go", "Forward"}, "Ctrl+]"},
            {{"Conversation", "Export", "Export as Markdown"}, nullptr},
            {{"Conversation", "Export", "Export as HTML"}, nullptr},
            {{"Conversation", "Export", "Export as JSON"}, nullptr},
            {{"Conversation", "Add documents..."}, nullptr},
            {{"Conversation", "Reset Context"}, "Ctrl+Shift+K"},
            {{"Conversation", "Clear Context Marker"}, nullptr},
            {{"Conversation", "Delete All Messages..."}, nullptr},
            {{"Window", "Stay On Top"}, nullptr},
            {{"Help", "What's news?"}, nullptr},
            {{"Help", "Follow us on Twitter"}, nullptr},
            {{"Help", "Review"}, nullptr},
            {{"Help", "Contact Us"}, nullptr},
            {{"Help", "Frequently Asked Questions"}, nullptr},
            {{"Help", "Feature Requests"}, nullptr},
            {{"Help", "Check for Updates..."}, nullptr},
        };
        for (const auto& entry : table) {
            const QAction* action = menuEntry(&bar, entry.path);
            QVERIFY2(action, qPrintable(entry.path.join(" > ")));
            QCOMPARE(action->shortcut(), keys(entry.key));
            QVERIFY(action->isEnabled());
        }
        // Nothing beyond the table, and the table's order is the menus' order.
        const auto entries = test::allEntries(&bar);
        QStringList listed;
        for (const auto& entry : table) {
            if (entry.path.back() != "Open Recent") listed << entry.path.join(" > ");
        }
        QStringList shown;
        for (const auto& [path, action] : entries) shown << path.join(" > ");
        QCOMPARE(shown, listed);
        // Ctrl+= enlarges too, for keyboards where "+" needs Shift.
        QVERIFY(menuEntry(&bar, {"View", "Increase Font Size"})
                    ->shortcuts()
                    .contains(QKeySequence(Qt::CTRL | Qt::Key_Equal)));
    }

    void noTwoWindowKeysClashInAnyWindow() {
        // Two owners of one key in a window make Qt run neither.
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        ChatWindow* chat = test::openChat(shell, "paper.pdf", {});
        QVERIFY(chat && chat->isLoaded());
        for (QWidget* window :
             {static_cast<QWidget*>(shell.windows.startWindow()), static_cast<QWidget*>(chat)}) {
            QVERIFY(test::menuBarOf(static_cast<QMainWindow*>(window)));
            for (const auto& [key, owners] : windowKeys(window))
                QVERIFY2(owners == 1, qPrintable(key));
        }
    }

    void checkMarksFollowTheSettingsBothWaysInEveryWindow() {
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        ChatWindow* chat = test::openChat(shell, "paper.pdf", {});
        AppPreferences& preferences = shell.core.preferences();
        struct Toggle {
            QStringList path;
            std::function<bool()> read;
            std::function<void(bool)> write;
        };
        const std::vector<Toggle> toggles = {
            {{"View", "LaTeX & Math Expression"},
             [&] { return preferences.useLaTeX(); },
             [&](bool on) { preferences.setUseLaTeX(on); }},
            {{"View", "Markdown & Code Syntax"},
             [&] { return preferences.useMarkdown(); },
             [&](bool on) { preferences.setUseMarkdown(on); }},
            {{"View", "Page References"},
             [&] { return preferences.showPageReferences(); },
             [&](bool on) { preferences.setShowPageReferences(on); }},
            {{"Window", "Stay On Top"},
             [&] { return preferences.alwaysOnTop(); },
             [&](bool on) { preferences.setAlwaysOnTop(on); }},
        };
        const std::vector<QMenuBar*> bars = {test::menuBarOf(shell.windows.startWindow()),
                                             test::menuBarOf(chat)};
        for (const auto& toggle : toggles) {
            const QString name = toggle.path.join(" > ");
            for (bool on : {true, false}) {
                toggle.write(on);
                for (auto* bar : bars) {
                    QAction* entry = menuEntry(bar, toggle.path);
                    QVERIFY2(entry->isCheckable(), qPrintable(name));
                    QCOMPARE(entry->isChecked(), on);
                }
            }
            // Choosing the entry in one window writes the setting and moves
            // the mark in the other.
            for (bool on : {true, false}) {
                menuEntry(bars[0], toggle.path)->trigger();
                QCOMPARE(toggle.read(), on);
                QCOMPARE(menuEntry(bars[1], toggle.path)->isChecked(), on);
            }
        }
        QVERIFY(!chat->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    }

    void fontSizeEntriesMoveTheAdjustmentWithoutALimit() {
        test::ShellTestCore shell;
        MenuBar bar(shell.windows);
        AppPreferences& preferences = shell.core.preferences();
        auto press = [&](const char* title, int times) {
            for (int i = 0; i < times; ++i) menuEntry(&bar, {"View", title})->trigger();
        };
        const struct {
            const char* title;
            int times;
            int expected;
        } steps[] = {
            {"Increase Font Size", 2, 2},    {"Reset Font Size", 1, 0},
            {"Decrease Font Size", 30, -30}, {"Reset Font Size", 1, 0},
            {"Increase Font Size", 30, 30},
        };
        for (const auto& step : steps) {
            press(step.title, step.times);
            QCOMPARE(preferences.textSizeAdjustment(), step.expected);
        }
    }

    void openRecentListsTheFirstTwentyChatsAndOpensThem() {
        test::ShellTestCore shell;
        auto& list = shell.core.chatList();
        list.trigger(chat_list_input::Sync{});
        for (const auto& chat : std::vector<ChatDetailRef>(list.state().chats))
            list.trigger(chat_list_input::RemoveConversation{chat.id()});
        MenuBar bar(shell.windows);
        QMenu* recent = bar.recentMenu();
        emit recent->aboutToShow();
        QVERIFY(recent->actions().isEmpty());

        const std::string one = test::writePaper(shell, "one.pdf");
        const std::string two = test::writePaper(shell, "two.pdf");
        for (int i = 0; i < 25; ++i) {
            std::vector<std::string> urls = {fileUrlFromPath(one)};
            if (i % 2) urls.push_back(fileUrlFromPath(two));
            shell.core.service().createConversation(urls);
        }
        list.trigger(chat_list_input::Sync{});
        emit recent->aboutToShow();
        const auto entries = recent->actions();
        QCOMPARE(entries.size(), MenuBar::recentChatCount);
        const auto& chats = list.state().chats;
        QCOMPARE(chats.size(), size_t(25));
        // In list order, each with the icon of one document or of several.
        auto several = [&](int i) {
            return chats[size_t(i)].state().conversation.allBookmarkIds().size() > 1;
        };
        auto image = [&](int i) { return entries[i]->icon().pixmap(16).toImage(); };
        const int single = several(0) ? 1 : 0;
        const int folder = 1 - single;
        QVERIFY(several(folder) && !several(single));
        QVERIFY(image(single) != image(folder));
        for (int i = 0; i < entries.size(); ++i) {
            QCOMPARE(entries[i]->text(),
                     QString::fromStdString(chats[size_t(i)].state().conversation.title));
            QVERIFY(image(i) == image(several(i) ? folder : single));
        }
        // Opening it again lists the chats as they are then.
        emit recent->aboutToShow();
        QCOMPARE(recent->actions().size(), MenuBar::recentChatCount);

        recent->actions()[3]->trigger();
        const int64_t chosen = chats[3].id();
        QVERIFY(shell.windows.chatWindow(chosen));
        QVERIFY(shell.windows.chatWindow(chosen)->isVisible());
    }

    void helpEntriesOpenTheProjectsOwnAddresses() {
        test::ShellTestCore shell;
        MenuBar bar(shell.windows);
        std::vector<QUrl> opened;
        MenuDesktop desktop;
        desktop.openUrl = [&](const QUrl& url) { opened.push_back(url); };
        bar.setDesktop(desktop);
        const QStringList titles = {
            "What's news?",        "Follow us on Twitter",       "Review",
            "Contact Us",          "Frequently Asked Questions", "Feature Requests",
            "Check for Updates..."};
        for (const QString& title : titles) menuEntry(&bar, {"Help", title})->trigger();
        QCOMPARE(opened.size(), size_t(titles.size()));
        QCOMPARE(std::set<QUrl>(opened.begin(), opened.end()).size(), opened.size());
        for (const QUrl& url : opened) {
            QVERIFY2(url.host() == "folvane.app" || url.host() == "twitter.com" ||
                         url.toString().startsWith("mailto:support@folvane.app?subject="),
                     qPrintable(url.toString()));
        }
        QCOMPARE(opened[3].scheme(), QStringLiteral("mailto"));
        QCOMPARE(opened.back(), QUrl("https://folvane.app/releases"));
    }
};

QTEST_MAIN(MenuBarTest)
#include "MenuBarTest.moc"
