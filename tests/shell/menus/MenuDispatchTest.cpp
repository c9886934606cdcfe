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

// How many times each channel of a chat's viewer was sent on, by entry title.
struct NavigatorCounts {
    explicit NavigatorCounts(PageNavigator& navigator) {
        for (auto [channel, title] : {std::pair{&navigator.goToPreviousPage, "Previous Page"},
                                      {&navigator.goToNextPage, "Next Page"},
                                      {&navigator.goBack, "Back"},
                                      {&navigator.goForward, "Forward"},
                                      {&navigator.findNext, "Find Next"},
                                      {&navigator.findPrevious, "Find Previous"}})
            subscriptions.push_back(channel->subscribe([this, title] { ++sent[title]; }));
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

void answer(QMessageBox* alert, const QString& text) {
    for (auto* button : alert->buttons())
        if (button->text() == text) button->click();
}

}  // namespace

class MenuDispatchTest : public QObject {
    Q_OBJECT
  private slots:
    void entriesReachTheFocusedChatWhicheverWindowsBarIsUsed() {
        test::ShellTestCore shell;
        ChatWindow* focused = test::openChat(shell, "focused.pdf", conversation);
        ChatWindow* other = test::openChat(shell, "other.pdf", conversation);
        auto chat = test::chatOf(shell, focused);
        auto otherChat = test::chatOf(shell, other);
        NavigatorCounts counts(*chat.state().pageNavigator);
        NavigatorCounts otherCounts(*otherChat.state().pageNavigator);
        QVERIFY(test::activate(focused));
        // The other window's bar: the focus decides, not the bar.
        MenuBar* bar = test::menuBarOf(other);
        auto choose = [&](const QStringList& path) { menuEntry(bar, path)->trigger(); };

        for (const QStringList& path : {QStringList{"Go", "Previous Page"},
                                        {"Go", "Next Page"},
                                        {"Go", "Back"},
                                        {"Go", "Forward"},
                                        {"Edit", "Find", "Find Next"},
                                        {"Edit", "Find", "Find Previous"}}) {
            choose(path);
            QVERIFY2(counts.sent[path.back()] == 1, qPrintable(path.join(" > ")));
        }
        QVERIFY(otherCounts.sent.empty());

        choose({"Edit", "Copy Last Response"});
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("It boils at 81 degrees."));
        choose({"Conversation", "Reset Context"});
        QCOMPARE(chat.state().messages.back().role, std::string("application"));
        choose({"Conversation", "Clear Context Marker"});
        QCOMPARE(chat.state().messages.size(), size_t(2));

        choose({"Edit", "Find", "Find in Chat..."});
        QVERIFY(focused->chatSearch()->isVisible() && !other->chatSearch()->isVisible());
        QTest::keyClicks(focused->chatSearch()->field(), "boils");
        QTRY_COMPARE(chat.state().searchResults.size(), size_t(1));
        QTest::keyClick(focused->chatSearch()->field(), Qt::Key_Escape);
        QTRY_COMPARE(chat.state().searchKeyword, std::string());

        choose({"Go", "Go to Page..."});
        QVERIFY(chat.state().shouldShowGoToPageForm && !otherChat.state().shouldShowGoToPageForm);
        focused->findChild<GoToPageDialog*>()->reject();

        QAction* viewer = menuEntry(bar, {"View", "Hide Document Viewer"});
        viewer->trigger();
        QVERIFY(focused->documentPane()->isHidden() && !other->documentPane()->isHidden());
        QCOMPARE(viewer->text(), QStringLiteral("Show Document Viewer"));
        viewer->trigger();
        QCOMPARE(viewer->text(), QStringLiteral("Hide Document Viewer"));

        // The form of the last message of the user's; closing it tells the chat.
        choose({"Edit", "Edit Last Message..."});
        auto* form = focused->findChild<EditLastMessageForm*>();
        QCOMPARE(form->dialog()->text(), QStringLiteral("What is the boiling point?"));
        form->dialog()->reject();
        QTRY_VERIFY(!chat.state().shouldShowEditLastMessageForm);

        // "Delete All Messages..." asks; only "Delete" deletes.
        for (const QString reply : {"Cancel", "Delete"}) {
            choose({"Conversation", "Delete All Messages..."});
            QMessageBox* alert = openAlert(focused);
            QCOMPARE(alert->text(), QStringLiteral("Delete All Messages?"));
            QCOMPARE(alert->informativeText(),
                     QStringLiteral("Do you want to delete all messages in this conversation?"));
            answer(alert, reply);
            QCOMPARE(chat.state().messages.size(), reply == "Cancel" ? size_t(2) : size_t(0));
        }
        QCOMPARE(otherChat.state().messages.size(), size_t(2));
        // With none of the user's messages left there is nothing to edit.
        QTRY_VERIFY(!form->dialog());
        choose({"Edit", "Edit Last Message..."});
        QVERIFY(!form->dialog());
        QTRY_VERIFY(!chat.state().shouldShowEditLastMessageForm);
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
        bar->setDesktop(desktop);
        QApplication::clipboard()->setText(QStringLiteral("kept"));

        for (const auto& [path, action] : test::allEntries(bar->actions())) {
            const bool forChats = QStringList{"Edit", "Go", "Conversation"}.contains(path[0]) ||
                                  path.back().endsWith("Document Viewer") ||
                                  path.back() == "Add documents...";
            if (forChats && !action->menu() && path.back() != "Settings...") action->trigger();
        }
        QCOMPARE(panels, 0);
        QVERIFY(counts.sent.empty());
        QCOMPARE(chat.state().messages.size(), size_t(2));
        QVERIFY(!chat.state().shouldShowGoToPageForm &&
                !chat.state().shouldShowEditLastMessageForm);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("kept"));
        QVERIFY(!openAlert(window) && !openAlert(start));
        QVERIFY(!window->chatSearch()->isVisible() && !window->documentPane()->isHidden());

        // Files and settings still work.
        menuEntry(bar, {"File", "New Chat..."})->trigger();
        QCOMPARE(panels, 1);
        menuEntry(bar, {"Edit", "Settings..."})->trigger();
        QVERIFY(shell.windows.settingsWindow() && shell.windows.settingsWindow()->isVisible());
    }

    void keysReachTheEntriesAndTheViewerKeepsItsZoomKeys() {
        test::ShellTestCore shell;
        ChatWindow* window = test::openChat(shell, "paper.pdf", conversation);
        QVERIFY(test::activate(window));
        QTRY_VERIFY(window->documentPane()->view());
        AppPreferences& settings = shell.core.preferences();

        QTest::keySequence(window, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F));
        QVERIFY(window->chatSearch()->isVisible());
        QTest::keySequence(window, QKeySequence(Qt::CTRL | Qt::Key_F));
        QVERIFY(window->documentPane()->findBar()->isVisible());

        QWidget* text = window->composeBox()->textEdit();
        text->setFocus();
        for (int key : {Qt::Key_Plus, Qt::Key_Equal})
            QTest::keySequence(text, QKeySequence(Qt::CTRL | key));
        QCOMPARE(settings.textSizeAdjustment(), 2);
        // In the viewer the same keys zoom the pages.
        DocumentView* view = window->documentPane()->view();
        view->setFocus();
        const double zoom = view->zoom();
        QTest::keySequence(view, QKeySequence(Qt::CTRL | Qt::Key_Plus));
        QVERIFY(view->zoom() > zoom);
        QTest::keySequence(view, QKeySequence(Qt::CTRL | Qt::Key_0));
        QCOMPARE(settings.textSizeAdjustment(), 2);
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
        const std::string added = shell.dir / "added.pdf";
        test::writeFile(added, test::makePdf({"Added."}));
        MenuDesktop desktop;
        desktop.chooseDocuments = [&](QWidget* parent, const QString&, auto chosen) {
            QCOMPARE(parent, static_cast<QWidget*>(window));
            chosen(QStringList{QString::fromStdString(added)});
        };
        test::menuBarOf(window)->setDesktop(desktop);
        QTRY_VERIFY_WITH_TIMEOUT(chat.state().loadingState == LoadingState::loaded, 60000);

        menuEntry(test::menuBarOf(window), {"Conversation", "Add documents..."})->trigger();
        QTRY_COMPARE(chat.state().allDocuments.size(), size_t(2));
    }
};

QTEST_MAIN(MenuDispatchTest)
#include "MenuDispatchTest.moc"
