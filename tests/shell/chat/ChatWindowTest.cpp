#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "platform/FileUrl.h"
#include "shell/chat/ChatWindow.h"
#include "shell/chat/ComposeBox.h"
#include "shell/chat/OpenAIKeyModalView.h"
#include "store/AppPreferences.h"
#include "support/ScriptedChatServer.h"
#include "support/ShellTestCore.h"
#include "support/TestPdf.h"

using namespace folvane;

namespace {

QPushButton* buttonNamed(QWidget& window, const QString& text) {
    for (auto* button : window.findChildren<QPushButton*>())
        if (button->text() == text) return button;
    return nullptr;
}

// A one-page PDF in the test's folder, as a file the user picked.
QString writePaper(test::ShellTestCore& shell, const std::string& name) {
    const std::string path = shell.dir / name;
    test::writeFile(path,
                    test::makePdf({"The measured boiling point of the sample was 81 degrees."}));
    return QString::fromStdString(path);
}

}  // namespace

class ChatWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void aQuestionIsAnsweredByTheServerAndStored() {
        test::ShellTestCore shell;
        test::LoopbackServer server;
        test::serveChatScripts(server, {test::textScript({"It boils", " at 81 degrees."})});
        // The user's default model is a custom one on the scripted server.
        CustomModel custom;
        custom.provider = "Ollama";
        custom.name = "Scripted";
        custom.apiEndpoint = server.baseURL();
        custom.modelId = "gpt-4";
        custom.contextLength = 16000;
        shell.core.preferences().setCustomModelId(shell.core.service().insertCustomModel(custom));

        const int64_t id = shell.windows.openFiles({writePaper(shell, "paper.pdf")});
        QVERIFY(id > 0);
        ChatWindow* window = shell.windows.chatWindow(id);
        QVERIFY(window && window->isLoaded());
        QCOMPARE(window->subtitle(), QStringLiteral("Scripted"));
        QVERIFY(window->windowTitle().startsWith(QStringLiteral("paper")));
        auto chat = *shell.core.chatList().find(id);
        QTRY_VERIFY_WITH_TIMEOUT(chat.state().loadingState == LoadingState::loaded, 60000);

        auto* text = window->composeBox()->textEdit();
        QTest::keyClicks(text, QStringLiteral("What is the boiling point?"));
        QTest::keyClick(text, Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(chat.state().messages.size() == 2 &&
                                     chat.state().assistantState == AssistantState::idle,
                                 30000);
        QCOMPARE(chat.state().messages.back().content, std::string("It boils at 81 degrees."));
        QCOMPARE(text->toPlainText(), QString());
        const auto stored = shell.core.service().getMessages(id, 0);
        QCOMPARE(stored.size(), size_t(2));
        QCOMPARE(stored[0].content, std::string("What is the boiling point?"));
        QCOMPARE(stored[1].content, std::string("It boils at 81 degrees."));
        QCOMPARE(test::chatRequestBodies(server).size(), size_t(1));
    }

    void reloadFindsAChatThatTheListDidNotKnowYet() {
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const std::string path = writePaper(shell, "later.pdf").toStdString();
        const auto made = shell.core.service().createConversation({fileUrlFromPath(path)});

        ChatWindow window(made.id, shell.windows);
        QVERIFY(!window.isLoaded());
        auto* reload = buttonNamed(window, QStringLiteral("Reload"));
        QVERIFY(reload);
        bool failureShown = false;
        for (auto* label : window.findChildren<QLabel*>())
            failureShown = failureShown ||
                           label->text() == "Failed to load the conversation. Please try again.";
        QVERIFY(failureShown);
        reload->click();
        QVERIFY(window.isLoaded());
        QCOMPARE(window.subtitle(), QStringLiteral("GPT-3.5"));

        ChatWindow missing(987654, shell.windows);
        buttonNamed(missing, QStringLiteral("Reload"))->click();
        QVERIFY(!missing.isLoaded());
    }

    void theSubtitleCarriesTheCostAndCtrlWClosesAndAlwaysOnTopFollows() {
        test::ShellTestCore shell;
        const std::string path = writePaper(shell, "costly.pdf").toStdString();
        const int64_t id = shell.core.service().createConversation({fileUrlFromPath(path)}).id;
        shell.core.service().addCost(id, 0.25);
        shell.core.chatList().trigger(chat_list_input::Sync{});
        ChatWindow window(id, shell.windows);
        QVERIFY(window.isLoaded());
        QCOMPARE(window.subtitle(), QStringLiteral("GPT-3.5 · ~$0.250000"));
        QVERIFY(window.windowTitle().contains(window.subtitle()));

        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!window.isVisible());

        QVERIFY(!window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        shell.core.preferences().setAlwaysOnTop(true);
        QVERIFY(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        shell.core.preferences().setAlwaysOnTop(false);
        QVERIFY(!window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    }

    void withoutAKeyReturnOpensTheKeyForm() {
        test::ShellTestCore shell;
        if (!shell.core.preferences().openAIKey().empty()) QSKIP("a key is stored on this machine");
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        ChatWindow window(id, shell.windows);
        window.show();
        auto* text = window.composeBox()->textEdit();
        QTest::keyClicks(text, QStringLiteral("Hello"));
        QTest::keyClick(text, Qt::Key_Return);
        auto* sheet = window.findChild<OpenAIKeyModalView*>();
        QVERIFY(sheet);
        QVERIFY(sheet->isVisible());
        QCOMPARE(sheet->windowTitle(), QStringLiteral("Enter your OpenAI API Key"));
        QCOMPARE(text->toPlainText(), QStringLiteral("Hello"));
        sheet->reject();
    }

    void everyControlHasANameAndIsReachedByTab() {
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const int64_t id = shell.core.chatList().state().chats.front().id();
        ChatWindow window(id, shell.windows);
        window.show();
        window.composeBox()->textEdit()->setPlainText(QStringLiteral("Hi"));
        auto* settings = window.configDialog();
        settings->show();
        int checked = 0;
        for (QWidget* root : {static_cast<QWidget*>(&window), static_cast<QWidget*>(settings)}) {
            for (auto* control : root->findChildren<QWidget*>()) {
                const bool isControl = qobject_cast<QAbstractButton*>(control) ||
                                       qobject_cast<QComboBox*>(control) ||
                                       qobject_cast<QAbstractSpinBox*>(control) ||
                                       qobject_cast<QPlainTextEdit*>(control);
                if (!isControl || !control->isVisible() || !control->isEnabled()) continue;
                auto* button = qobject_cast<QAbstractButton*>(control);
                const QString name = !control->accessibleName().isEmpty()
                                         ? control->accessibleName()
                                     : button ? button->text()
                                              : QString();
                QVERIFY2(!name.isEmpty(), control->metaObject()->className());
                QVERIFY2(control->focusPolicy() & Qt::TabFocus, qPrintable(name));
                ++checked;
            }
        }
        QVERIFY(checked >= 12);
    }
};

QTEST_MAIN(ChatWindowTest)
#include "ChatWindowTest.moc"
