#include <QDialog>
#include <QDir>
#include <QPlainTextEdit>
#include <QSet>
#include <QSignalSpy>
#include <QtTest>

#include "chat/AppChatService.h"
#include "conversation/ChatListViewModel.h"
#include "shell/chat/ChatWindow.h"
#include "shell/chat/ComposeBox.h"
#include "shell/chat/TranscriptView.h"
#include "store/AppPreferences.h"
#include "support/ScriptedChatServer.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

// Saves the window's picture to build/screenshots/NAME.png, and fails when the
// picture is blank: a window that paints nothing has at most a few colours.
int colourCount(const QImage& image) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height() && colours.size() < 16; y += 3)
        for (int x = 0; x < image.width() && colours.size() < 16; x += 3)
            colours.insert(image.pixel(x, y));
    return int(colours.size());
}

void saveScreenshot(QWidget& window, const QString& name) {
    // The transcript paints on its own schedule: wait until it shows text.
    if (auto* transcript = window.findChild<TranscriptView*>()) {
        QTRY_VERIFY2_WITH_TIMEOUT(colourCount(transcript->grab().toImage()) >= 8,
                                  qPrintable(name + ": the transcript is blank"), 20000);
    }
    const QImage image = window.grab().toImage();
    QVERIFY2(colourCount(image) >= 16, qPrintable(name + " is blank"));
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(image.save(folder + "/" + name + ".png"));
}

}  // namespace

class ChatWindowScreenshotTest : public QObject {
    Q_OBJECT
  private slots:
    void theDemoChatDuringAndAfterAnAnswer() {
        test::ShellTestCore shell;
        test::LoopbackServer server;
        auto script = test::textScript({"The paper", " proposes a chain", " of blocks."});
        script.holdAfter = 2;  // the answer waits half way for release()
        test::serveChatScripts(server, {script});
        CustomModel custom;
        custom.provider = "Ollama";
        custom.name = "Scripted";
        custom.apiEndpoint = server.baseURL();
        custom.modelId = "gpt-4";
        custom.contextLength = 16000;
        const int64_t customId = shell.core.service().insertCustomModel(custom);
        shell.core.preferences().setCustomModelId(customId);
        const auto chats = shell.core.service().getConversations(0);
        QVERIFY(!chats.empty());
        const int64_t id = chats.front().id;
        shell.core.service().updateCustomModelId(id, customId);
        shell.core.chatList().trigger(chat_list_input::Sync{});

        shell.windows.openChat(id);
        ChatWindow* window = shell.windows.chatWindow(id);
        QVERIFY(window);
        auto chat = *shell.core.chatList().find(id);
        QTRY_VERIFY_WITH_TIMEOUT(chat.state().loadingState == LoadingState::loaded, 60000);
        saveScreenshot(*window, "chat-demo");

        auto* text = window->composeBox()->textEdit();
        QTest::keyClicks(text, QStringLiteral("What does the paper propose?"));
        QTest::keyClick(text, Qt::Key_Return);
        QTRY_VERIFY_WITH_TIMEOUT(
            chat.state().liveMessage && !chat.state().liveMessage->content.empty(), 30000);
        QTest::keyClicks(text, QStringLiteral("And then?"));
        saveScreenshot(*window, "chat-during-answer");

        server.release();
        QTRY_VERIFY_WITH_TIMEOUT(
            chat.state().assistantState == AssistantState::idle && !chat.state().liveMessage,
            30000);
        QCOMPARE(chat.state().messages.back().content,
                 std::string("The paper proposes a chain of blocks."));
        // The page draws the last block when it next gets its rows.
        auto* transcript = window->findChild<TranscriptView*>();
        QSignalSpy rendered(transcript, &TranscriptView::rowRendered);
        rendered.wait(3000);
        QTest::qWait(500);
        saveScreenshot(*window, "chat-after-answer");
        window->configDialog()->show();
        saveScreenshot(*window->configDialog(), "chat-settings");
    }
};

QTEST_MAIN(ChatWindowScreenshotTest)
#include "ChatWindowScreenshotTest.moc"
