#include <QApplication>
#include <QtTest>

#include "conversation/ChatListViewModel.h"
#include "shell/chat/ChatWindow.h"
#include "shell/start/StartWindow.h"
#include "support/ShellTestCore.h"

using namespace folvane;

class WindowManagerTest : public QObject {
    Q_OBJECT
  private slots:
    void aChatHasOneWindowBroughtForwardWhenAskedAgain() {
        test::ShellTestCore shell;
        shell.windows.showWelcome();
        QVERIFY(shell.windows.startWindow() != nullptr);
        const auto& chats = shell.core.chatList().state().chats;
        QVERIFY(!chats.empty());
        const int64_t id = chats.front().id();
        shell.windows.openChat(id);
        ChatWindow* first = shell.windows.chatWindow(id);
        QVERIFY(first != nullptr);
        shell.windows.openChat(id);
        QCOMPARE(shell.windows.chatWindow(id), first);
    }

    void aFileThatIsNoPdfOpensNoChat() {
        test::ShellTestCore shell;
        const std::string path = shell.dir / "notes.pdf";
        test::writeFile(path, "plain text");
        // The "Failed" alert is modal: close it as soon as it shows.
        QTimer::singleShot(0, [] {
            if (auto* box = QApplication::activeModalWidget()) box->close();
        });
        QCOMPARE(shell.windows.openFiles({QString::fromStdString(path)}), int64_t{0});
    }
};

QTEST_MAIN(WindowManagerTest)
#include "WindowManagerTest.moc"
