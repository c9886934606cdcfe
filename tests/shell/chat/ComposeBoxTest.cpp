#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include "shell/chat/ComposeBox.h"
#include "store/AppPreferences.h"
#include "support/RecordingChat.h"
#include "support/TempDir.h"

using namespace folvane;

namespace {

enum class SetUp { nothing, openAIKey, customModel, customModelSettingOnly };

// The settings and the chat as each set-up has them.
void applySetUp(SetUp setUp, AppPreferences& preferences, test::RecordingChat& chat) {
    if (setUp == SetUp::openAIKey) preferences.setOpenAIKey("test-key");
    if (setUp == SetUp::customModel || setUp == SetUp::customModelSettingOnly)
        preferences.setCustomModelId(3);
    if (setUp == SetUp::customModel) {
        chat.change([](ChatDetailState& s) {
            CustomModel model;
            model.id = 3;
            model.provider = "Ollama";
            model.name = "Local";
            s.customModel = model;
            s.conversation.customModelId = 3;
        });
    }
}

QToolButton* button(ComposeBox& box, const QString& name) {
    for (auto* candidate : box.findChildren<QToolButton*>()) {
        if (candidate->accessibleName() == name) return candidate;
    }
    return nullptr;
}

}  // namespace

Q_DECLARE_METATYPE(SetUp)
Q_DECLARE_METATYPE(Qt::KeyboardModifiers)

class ComposeBoxTest : public QObject {
    Q_OBJECT
  private slots:
    void returnKey_data() {
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<SetUp>("setUp");
        QTest::addColumn<bool>("busy");
        QTest::addColumn<bool>("enterToSend");
        QTest::addColumn<bool>("sends");
        QTest::addColumn<bool>("asksForKey");
        QTest::addColumn<QString>("textAfter");

        const Qt::KeyboardModifiers none = Qt::NoModifier;
        const QString typed = QStringLiteral("  ");  // blanks only still go out
        const QString newLine = typed + QStringLiteral("\n");
        QTest::newRow("key set: sends")
            << none << SetUp::openAIKey << false << true << true << false << QString();
        QTest::newRow("custom model, no key: sends")
            << none << SetUp::customModel << false << true << true << false << QString();
        QTest::newRow("nothing set up: asks for the key, text stays")
            << none << SetUp::nothing << false << true << false << true << typed;
        QTest::newRow("nothing set up and busy: still asks")
            << none << SetUp::nothing << true << true << false << true << typed;
        QTest::newRow("default is a model the chat does not use: asks on send")
            << none << SetUp::customModelSettingOnly << false << true << false << true << typed;
        QTest::newRow("busy: nothing, no line added")
            << none << SetUp::openAIKey << true << true << false << false << typed;
        QTest::newRow("busy with the toggle off: nothing")
            << none << SetUp::openAIKey << true << false << false << false << typed;
        QTest::newRow("toggle off: a line, no send")
            << none << SetUp::openAIKey << false << false << false << false << newLine;
        QTest::newRow("shift: a line")
            << Qt::KeyboardModifiers(Qt::ShiftModifier) << SetUp::openAIKey << false << true
            << false << false << newLine;
        QTest::newRow("alt: a line") << Qt::KeyboardModifiers(Qt::AltModifier) << SetUp::openAIKey
                                     << false << true << false << false << newLine;
        QTest::newRow("alt while busy: a line")
            << Qt::KeyboardModifiers(Qt::AltModifier) << SetUp::openAIKey << true << true << false
            << false << newLine;
        QTest::newRow("shift, nothing set up: a line, no key form")
            << Qt::KeyboardModifiers(Qt::ShiftModifier) << SetUp::nothing << false << true << false
            << false << newLine;
    }

    void returnKey() {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(SetUp, setUp);
        QFETCH(bool, busy);
        QFETCH(bool, enterToSend);
        QFETCH(bool, sends);
        QFETCH(bool, asksForKey);
        QFETCH(QString, textAfter);

        AppPreferences preferences;
        test::RecordingChatRef chat;
        applySetUp(setUp, preferences, *chat.chat);
        chat.chat->change([busy](ChatDetailState& s) {
            s.assistantState = busy ? AssistantState::typing : AssistantState::idle;
        });
        ComposeBox box(chat.ref, preferences);
        box.setEnterToSendMessage(enterToSend);
        QSignalSpy keyNeeded(&box, &ComposeBox::apiKeyNeeded);
        box.textEdit()->setPlainText(QStringLiteral("  "));
        box.textEdit()->moveCursor(QTextCursor::End);

        QTest::keyClick(box.textEdit(), Qt::Key_Return, modifiers);
        QCoreApplication::processEvents();

        const auto messages = chat.chat->sent<chat_input::AddMessage>();
        QCOMPARE(messages.size(), size_t(sends ? 1 : 0));
        if (sends) QCOMPARE(messages.front().text, std::string("  "));
        QCOMPARE(keyNeeded.count(), asksForKey ? 1 : 0);
        QCOMPARE(box.text(), textAfter);
    }

    void anIndexingChatIsBusyButReadingItIsNot() {
        AppPreferences preferences;
        preferences.setOpenAIKey("test-key");
        for (auto [state, sends] :
             {std::pair{LoadingState::indexing, false}, std::pair{LoadingState::loading, true},
              std::pair{LoadingState::indexingExtra, true}}) {
            test::RecordingChatRef chat;
            chat.chat->change([state](ChatDetailState& s) { s.loadingState = state; });
            ComposeBox box(chat.ref, preferences);
            box.textEdit()->setPlainText(QStringLiteral("Hi"));
            QTest::keyClick(box.textEdit(), Qt::Key_Return);
            QCOMPARE(chat.chat->sent<chat_input::AddMessage>().size(), size_t(sends ? 1 : 0));
        }
    }

    void theButtonFollowsTheTextAndTheReply() {
        AppPreferences preferences;
        preferences.setOpenAIKey("test-key");
        test::RecordingChatRef chat;
        ComposeBox box(chat.ref, preferences);
        box.show();
        auto* send = button(box, QStringLiteral("Send Message"));
        auto* stop = button(box, QStringLiteral("Stop Generating"));
        auto* record = button(box, QStringLiteral("Record speech"));
        auto* toggle = box.findChild<QCheckBox*>();
        QVERIFY(send && stop && record && toggle);
        QCOMPARE(toggle->text(), QStringLiteral("Enter to send message"));

        struct Case {
            QString text;
            bool busy;
            QToolButton* shown;
        };
        for (const Case& c : {Case{"", false, record}, Case{"", true, record},
                              Case{"Hi", false, send}, Case{"Hi", true, stop}}) {
            chat.chat->change([&](ChatDetailState& s) {
                s.assistantState = c.busy ? AssistantState::thinking : AssistantState::idle;
            });
            box.textEdit()->setPlainText(c.text);
            for (auto* b : {send, stop, record}) QCOMPARE(b->isVisible(), b == c.shown);
            QCOMPARE(toggle->isVisible(), !c.text.isEmpty());
        }

        stop->click();
        QCOMPARE(chat.chat->sent<chat_input::CancelRequest>().size(), size_t(1));
        chat.chat->change([](ChatDetailState& s) { s.assistantState = AssistantState::idle; });
        box.setEnterToSendMessage(false);
        send->click();  // the button sends whatever the toggle says
        QCOMPARE(chat.chat->sent<chat_input::AddMessage>().size(), size_t(1));
        QTRY_COMPARE(box.text(), QString());
    }

    void theNextMessagesContextShowsAndCanBeDropped() {
        test::TempDir dir;
        const std::string broken = dir / "broken.png";
        test::writeFile(broken, "not an image");
        const std::string good = dir / "good.png";
        QImage image(120, 80, QImage::Format_RGB32);
        image.fill(Qt::blue);
        QVERIFY(image.save(QString::fromStdString(good)));

        AppPreferences preferences;
        test::RecordingChatRef chat;
        ComposeBox box(chat.ref, preferences);
        box.show();
        QCOMPARE(box.textEdit()->placeholderText(),
                 QStringLiteral("Send a message (Alt+Enter for new line)"));

        chat.chat->change([](ChatDetailState& s) {
            s.contextMode = ChatContextMode::quotedContent;
            s.stringContext = "a quoted line";
        });
        QVERIFY(box.findChild<QLabel*>() != nullptr);
        bool quoted = false;
        for (auto* label : box.findChildren<QLabel*>())
            quoted = quoted || (label->isVisible() && label->text() == "a quoted line");
        QVERIFY(quoted);
        button(box, QStringLiteral("Clear Context"))->click();
        QCOMPARE(chat.chat->sent<chat_input::ResetMessageContext>().size(), size_t(1));

        const std::string goodUrl = "file://" + good, brokenUrl = "file://" + broken;
        chat.chat->change([&](ChatDetailState& s) {
            s.contextMode = ChatContextMode::images;
            s.imageURLs = {goodUrl, brokenUrl};
        });
        QList<QLabel*> failures;
        for (auto* label : box.findChildren<QLabel*>("imageFailure"))
            if (!label->isHidden()) failures.append(label);
        QCOMPARE(failures.size(), 1);
        QVERIFY(failures.front()->text().startsWith(QStringLiteral("Failed ")));
        QVERIFY(failures.front()->text().contains(QStringLiteral("broken.png")));
        bool thumbnail = false;
        for (auto* label : box.findChildren<QLabel*>()) {
            if (label->accessibleName() == "good.png") {
                thumbnail = true;
                QCOMPARE(label->size(), QSize(64, 64));
            }
        }
        QVERIFY(thumbnail);
        button(box, QStringLiteral("Remove good.png"))->click();
        const auto removed = chat.chat->sent<chat_input::RemoveImages>();
        QCOMPARE(removed.size(), size_t(1));
        QCOMPARE(removed.front().urls, std::vector<std::string>{goodUrl});

        box.setChooseDocuments([](QWidget*) {
            return QStringList{"/docs/a b.pdf", "/docs/c.pdf"};
        });
        button(box, QStringLiteral("Add Documents"))->click();
        const auto added = chat.chat->sent<chat_input::AddDocuments>();
        QCOMPARE(added.size(), size_t(1));
        QCOMPARE(added[0].urls,
                 (std::vector<std::string>{"file:///docs/a%20b.pdf", "file:///docs/c.pdf"}));

        chat.chat->change([](ChatDetailState& s) { s.recordingState = RecordingState::Recording; });
        QCOMPARE(box.textEdit()->placeholderText(), QStringLiteral("Recording..."));
    }
};

QTEST_MAIN(ComposeBoxTest)
#include "ComposeBoxTest.moc"
