#include <QApplication>
#include <QClipboard>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

#include "conversation/PageNavigator.h"
#include "menus/MenuTestSupport.h"
#include "shell/chat/ChatSearchBar.h"
#include "shell/chat/ComposeBox.h"
#include "shell/chat/EditLastMessageForm.h"
#include "shell/start/StartWindow.h"
#include "shell/viewer/DocumentPane.h"
#include "shell/viewer/DocumentView.h"
#include "shell/viewer/FindBar.h"
#include "shell/viewer/GoToPageDialog.h"
#include "store/AppPreferences.h"

using namespace folvane;
using test::menuEntry;

namespace {

// How many times each channel of a chat's viewer was sent on.
struct NavigatorCounts {
    explicit NavigatorCounts(PageNavigator& navigator) {
        auto count = [this](ObserverList<>& channel, const char* name) {
            subscriptions.push_back(channel.subscribe([this, name] { ++sent[name]; }));
        };
        count(navigator.goToPreviousPage, "Previous Page");
        count(navigator.goToNextPage, "Next Page");
        count(navigator.goBack, "Back");
        count(navigator.goForward, "Forward");
        count(navigator.findNext, "Find Next");
        count(navigator.findPrevious, "Find Previous");
    }
    std::map<QString, int> sent;
    std::vector<Subscription> subscriptions;
};

const std::vector<std::pair<std::string, std::string>> conversation = {
    {"user", "What is the boiling point?"},
    {"assistant", "It boils at 81 degrees."},
};

QMessageBox* openAlert(QWidget* window) {
    for (auto* box : window->findChildren<QMessageBox*>())
        if (box->isVisible()) return box;
    return nullptr;
}

QPushButton* alertButton(QMessageBox* box, const QString& text) {
    for (auto* button : box->buttons())
        if (button->text() == text) return static_cast<QPushButton*>(button);
    return nullptr;
}

}  // namespace

class MenuDispatchTest : public QObject {
    Q_OBJECT
  private slots:
    void entriesReachTheFocusedChatWhicheverWindowsBarIsUsed() {
        test::ShellTestCore shell;
        ChatWindow* focused = test::openChat(shell, "focused.pdf", conversation);
        ChatWindow* other = test::openChat(shell, "other.pdf", conversation);
        QVERIFY(focused && other);
        auto chat = test::chatOf(shell, focused);
        auto otherChat = test::chatOf(shell, other);
        QCOMPARE(chat.state().messages.size(), size_t(2));
        NavigatorCounts counts(*chat.state().pageNavigator);
        NavigatorCounts otherCounts(*otherChat.state().pageNavigator);
        QVERIFY(test::activate(focused));
        // The other window's bar: the focus decides, not the bar.
        MenuBar* bar = test::menuBarOf(other);

        for (const QStringList& path :
             {QStringList{"Go", "Previous Page"}, QStringList{"Go", "Next Page"},
              QStringList{"Go", "Back"}, QStringList{"Go", "Forward"},
              QStringList{"Edit", "Find", "Find Next"},
              QStringList{"Edit", "Find", "Find Previous"}}) {
            menuEntry(bar, path)->trigger();
            QVERIFY2(counts.sent[path.back()] == 1, qPrintable(path.join(" > ")));
        }
        QVERIFY(otherCounts.sent.empty());

        QApplication::clipboard()->clear();
        menuEntry(bar, {"Edit", "Copy Last Response"})->trigger();
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("It boils at 81 degrees."));

        menuEntry(bar, {"Conversation", "Reset Context"})->trigger();
        QCOMPARE(chat.state().messages.back().role, std::string("application"));
        QCOMPARE(otherChat.state().messages.size(), size_t(2));
        menuEntry(bar, {"Conversation", "Clear Context Marker"})->trigger();
        QCOMPARE(chat.state().messages.size(), size_t(2));

        menuEntry(bar, {"Edit", "Find", "Find in Chat..."})->trigger();
        QVERIFY(focused->chatSearch()->isVisible());
        QVERIFY(!other->chatSearch()->isVisible());
        QTest::keyClicks(focused->chatSearch()->field(), "boils");
        QTRY_COMPARE(chat.state().searchResults.size(), size_t(1));
        QTest::keyClick(focused->chatSearch()->field(), Qt::Key_Escape);
        QVERIFY(!focused->chatSearch()->isVisible());
        QTRY_COMPARE(chat.state().searchKeyword, std::string());

        menuEntry(bar, {"Go", "Go to Page..."})->trigger();
        QVERIFY(chat.state().shouldShowGoToPageForm);
        QVERIFY(!otherChat.state().shouldShowGoToPageForm);
        auto* goTo = focused->findChild<GoToPageDialog*>();
        QVERIFY(goTo);
        goTo->reject();
        QTRY_VERIFY(!chat.state().shouldShowGoToPageForm);

        QAction* viewer = menuEntry(bar, {"View", "Hide Document Viewer"});
        viewer->trigger();
        QVERIFY(focused->documentPane()->isHidden());
        QVERIFY(!other->documentPane()->isHidden());
        QCOMPARE(viewer->text(), QStringLiteral("Show Document Viewer"));
        viewer->trigger();
        QVERIFY(!focused->documentPane()->isHidden());
        QCOMPARE(viewer->text(), QStringLiteral("Hide Document Viewer"));
    }

    void withoutAFocusedChatTheChatEntriesDoNothing() {
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        ChatWindow* window = test::openChat(shell, "paper.pdf", conversation);
        auto chat = test::chatOf(shell, window);
        NavigatorCounts counts(*chat.state().pageNavigator);
        StartWindow* start = shell.windows.startWindow();
        QVERIFY(test::activate(start));
        MenuBar* bar = test::menuBarOf(start);
        int panels = 0;
        MenuDesktop desktop;
        desktop.chooseDocuments = [&](QWidget*, const QString&, auto) { ++panels; };
        desktop.chooseSavePath = [&](QWidget*, const ExportPanel::Request&, auto) { ++panels; };
        desktop.openUrl = [](const QUrl&) {};
        desktop.reveal = [](const QString&) {};
        bar->setDesktop(desktop);
        QApplication::clipboard()->setText(QStringLiteral("kept"));

        const QStringList chatMenus = {"Edit", "Go", "Conversation"};
        for (const auto& [path, action] : test::allEntries(bar)) {
            if (!chatMenus.contains(path.front()) || path.back() == "Settings...") continue;
            action->trigger();
        }
        menuEntry(bar, {"File", "Add documents..."})->trigger();
        menuEntry(bar, {"View", "Hide Document Viewer"})->trigger();

        QCOMPARE(panels, 0);
        QVERIFY(counts.sent.empty());
        QCOMPARE(chat.state().messages.size(), size_t(2));
        QVERIFY(!chat.state().shouldShowGoToPageForm);
        QVERIFY(!chat.state().shouldShowEditLastMessageForm);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kept"));
        QVERIFY(!openAlert(window) && !openAlert(start));
        QVERIFY(!window->chatSearch()->isVisible());
        QVERIFY(!window->documentPane()->isHidden());

        // The files, the settings and the help still work.
        menuEntry(bar, {"File", "New Chat..."})->trigger();
        QCOMPARE(panels, 1);
        menuEntry(bar, {"Edit", "Settings..."})->trigger();
        QVERIFY(shell.windows.settingsWindow() && shell.windows.settingsWindow()->isVisible());
    }

    void theKeysWorkInAChatWindowAndTheViewerKeepsItsZoomKeys() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", conversation);
        auto chat = test::chatOf(shell, window);
        QVERIFY(test::activate(window));
        QTRY_VERIFY(window->documentPane()->view());
        AppPreferences& preferences = shell.core.preferences();

        QTest::keySequence(window, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F));
        QVERIFY(window->chatSearch()->isVisible());
        QTest::keyClick(window->chatSearch()->field(), Qt::Key_Escape);
        QTest::keySequence(window, QKeySequence::Find);
        QVERIFY(window->documentPane()->findBar()->isVisible());
        QTest::keySequence(window, QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_G));
        QVERIFY(chat.state().shouldShowGoToPageForm);
        window->findChild<GoToPageDialog*>()->reject();
        QTRY_VERIFY(!chat.state().shouldShowGoToPageForm);

        // In the message box the font-size keys size the text...
        window->composeBox()->textEdit()->setFocus();
        QTest::keySequence(window->composeBox()->textEdit(), QKeySequence(Qt::CTRL | Qt::Key_Plus));
        QTest::keySequence(window->composeBox()->textEdit(),
                           QKeySequence(Qt::CTRL | Qt::Key_Equal));
        QCOMPARE(preferences.textSizeAdjustment(), 2);
        QTest::keySequence(window->composeBox()->textEdit(), QKeySequence(Qt::CTRL | Qt::Key_0));
        QCOMPARE(preferences.textSizeAdjustment(), 0);
        // ...and in the viewer they zoom the pages.
        DocumentView* view = window->documentPane()->view();
        view->setFocus();
        const double zoom = view->zoom();
        QTest::keySequence(view, QKeySequence(Qt::CTRL | Qt::Key_Plus));
        QVERIFY(view->zoom() > zoom);
        QTest::keySequence(view, QKeySequence(Qt::CTRL | Qt::Key_Minus));
        QCOMPARE(preferences.textSizeAdjustment(), 0);
    }

    void deleteAllMessagesAsksFirst() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", conversation);
        auto chat = test::chatOf(shell, window);
        QVERIFY(test::activate(window));
        QAction* entry =
            menuEntry(test::menuBarOf(window), {"Conversation", "Delete All Messages..."});

        for (const QString answer : {"Cancel", "Delete"}) {
            entry->trigger();
            QMessageBox* alert = openAlert(window);
            QVERIFY(alert);
            QCOMPARE(alert->text(), QStringLiteral("Delete All Messages?"));
            QCOMPARE(alert->informativeText(),
                     QStringLiteral("Do you want to delete all messages in this conversation?"));
            QCOMPARE(alert->buttons().size(), 2);
            alertButton(alert, answer)->click();
            QTRY_VERIFY(!openAlert(window));
            QCOMPARE(chat.state().messages.size(), answer == "Cancel" ? size_t(2) : size_t(0));
        }
        QVERIFY(shell.core.service().getMessages(window->conversationId(), 0).empty());
    }

    void editLastMessageEditsTheLastOfTheUsersAndAsksAgain() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", conversation);
        auto chat = test::chatOf(shell, window);
        QVERIFY(test::activate(window));
        QAction* entry = menuEntry(test::menuBarOf(window), {"Edit", "Edit Last Message..."});

        entry->trigger();
        auto* form = window->findChild<EditLastMessageForm*>();
        QVERIFY(form && form->dialog());
        QCOMPARE(form->dialog()->text(), QStringLiteral("What is the boiling point?"));
        form->dialog()->reject();
        QTRY_VERIFY(!chat.state().shouldShowEditLastMessageForm);
        QCOMPARE(chat.state().messages.size(), size_t(2));

        // A chat with none of the user's messages has nothing to edit.
        menuEntry(test::menuBarOf(window), {"Conversation", "Delete All Messages..."})->trigger();
        alertButton(openAlert(window), "Delete")->click();
        QTRY_VERIFY(!form->dialog());
        entry->trigger();
        QVERIFY(!form->dialog());
        QTRY_VERIFY(!chat.state().shouldShowEditLastMessageForm);
    }

    void addDocumentsGivesTheChosenFilesToTheFocusedChat() {
        test::ShellTestCore shell;
        // A model of its own, so that the chat reads its documents without a key.
        CustomModel custom;
        custom.provider = "Ollama";
        custom.name = "Local";
        custom.apiEndpoint = "http://127.0.0.1:9";
        custom.modelId = "llama3";
        custom.contextLength = 8000;
        shell.core.preferences().setCustomModelId(shell.core.service().insertCustomModel(custom));
        ChatWindow* window = test::openChat(shell, "paper.pdf", {});
        auto chat = test::chatOf(shell, window);
        QVERIFY(test::activate(window));
        const QString added = QString::fromStdString(test::writePaper(shell, "added.pdf"));
        MenuBar* bar = test::menuBarOf(window);
        QStringList answer;
        MenuDesktop desktop;
        desktop.chooseDocuments = [&](QWidget* parent, const QString&, auto chosen) {
            QCOMPARE(parent, static_cast<QWidget*>(window));
            chosen(answer);
        };
        bar->setDesktop(desktop);
        QTRY_VERIFY_WITH_TIMEOUT(chat.state().loadingState == LoadingState::loaded, 60000);
        QCOMPARE(chat.state().allDocuments.size(), size_t(1));

        // A cancelled panel (no files) adds nothing.
        menuEntry(bar, {"File", "Add documents..."})->trigger();
        answer = {added};
        menuEntry(bar, {"Conversation", "Add documents..."})->trigger();
        QTRY_COMPARE(chat.state().allDocuments.size(), size_t(2));
    }
};

QTEST_MAIN(MenuDispatchTest)
#include "MenuDispatchTest.moc"
