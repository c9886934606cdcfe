#include <QApplication>
#include <QClipboard>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QtTest>

#include "conversation/ViewModel.h"
#include "shell/chat/TranscriptView.h"
#include "store/AppColorScheme.h"
#include "store/AppPreferences.h"
#include "support/ShellTestCore.h"

using namespace folvane;

namespace {

// A chat whose state the test writes and whose inputs it reads back: the
// transcript only reads state and sends inputs, so this is all it sees of a chat.
class ScriptedChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    ScriptedChat() : PublishingViewModel(ChatDetailState{}) {}
    void trigger(ChatDetailInput input) override { inputs.push_back(std::move(input)); }
    void set(const std::function<void(ChatDetailState&)>& change) { updateState(change); }
    std::vector<ChatDetailInput> inputs;
};

Message message(int64_t id, std::string role, std::string content) {
    Message m;
    m.id = id;
    m.role = std::move(role);
    m.content = std::move(content);
    return m;
}

// One transcript over a scripted chat, its page loaded.
struct Transcript {
    std::shared_ptr<ScriptedChat> chat = std::make_shared<ScriptedChat>();
    AppPreferences preferences;
    TranscriptView view{ChatDetailRef(chat), preferences};

    Transcript() {
        view.resize(800, 600);
        view.show();
    }

    bool waitReady() {
        return QTest::qWaitFor([&] { return view.isPageReady(); }, 20000);
    }

    // Runs a script in the page and waits for its result.
    QVariant eval(const QString& script) {
        QVariant result;
        bool done = false;
        view.webView()->page()->runJavaScript(script, [&](const QVariant& value) {
            result = value;
            done = true;
        });
        if (!QTest::qWaitFor([&] { return done; }, 10000)) return QStringLiteral("(no answer)");
        return result;
    }

    void click(const QString& selector) {
        eval(QStringLiteral("document.querySelector('%1').click()").arg(selector));
    }
};

}  // namespace

class TranscriptViewTest : public QObject {
    Q_OBJECT
  private slots:
    void nonAsciiTextArrivesIntactAndRowsReportTheirHeight() {
        Transcript t;
        const std::string text =
            "Gr\xC3\xBC\xC3\x9F"
            "e \xE6\x97\xA5\xE6\x9C\xAC "
            "\xE2\x80\x94 \xF0\x9F\x98\x80 caf\xC3\xA9";
        t.chat->set([&](ChatDetailState& s) {
            s.messages = {message(1, "user", "Qu\xC3\xA9?"), message(2, "assistant", text)};
        });
        QVERIFY(t.waitReady());
        QTRY_COMPARE_WITH_TIMEOUT(t.view.renderedText("2").trimmed(), QString::fromStdString(text),
                                  10000);
        QTRY_VERIFY(t.view.rowHeight("2") > 0);
        QTRY_VERIFY(t.view.rowHeight("1") > 0);
        QCOMPARE(t.eval("document.querySelector('[data-key=\"1\"] .bubble').innerText").toString(),
                 QString::fromUtf8("Qu\xC3\xA9?"));
    }

    void copyButtonsPutTextOnTheClipboard() {
        Transcript t;
        const std::string content = "Run:\n\n```python\nprint('\xC3\xA9t\xC3\xA9')\n```\n";
        t.chat->set([&](ChatDetailState& s) { s.messages = {message(4, "assistant", content)}; });
        QVERIFY(t.waitReady());
        QTRY_VERIFY_WITH_TIMEOUT(!t.view.renderedText("4").isEmpty(), 10000);

        t.click("[data-key=\"4\"] pre button");
        QTRY_COMPARE(QApplication::clipboard()->text().trimmed(),
                     QString::fromUtf8("print('\xC3\xA9t\xC3\xA9')"));

        t.click("[data-key=\"4\"] .actions button[aria-label=\"Copy to clipboard\"]");
        QTRY_COMPARE(QApplication::clipboard()->text(), QString::fromStdString(content));
        QCOMPARE(t.eval("document.querySelector('[data-key=\"4\"] .actions button').textContent")
                     .toString(),
                 QStringLiteral("Copied"));
    }

    void aStreamedReplyGrowsWithoutReloadingThePage() {
        Transcript t;
        t.chat->set([](ChatDetailState& s) {
            s.messages = {message(1, "user", "Explain")};
            s.liveMessage = message(Message::liveMessageId, "assistant", "");
            s.assistantState = AssistantState::thinking;
        });
        QVERIFY(t.waitReady());
        QTRY_COMPARE(t.eval("document.querySelector('.status').textContent").toString(),
                     QStringLiteral("Assistant is thinking..."));
        // Finished rows keep their element while the reply streams.
        t.eval("document.querySelector('[data-key=\"1\"]').dataset.mark = 'kept'");

        std::string reply;
        for (int block = 0; block < 30; ++block) {
            reply += "Block " + std::to_string(block) + " \xCE\xB1\xCE\xB2 ";
            t.chat->set([&](ChatDetailState& s) {
                s.liveMessage->content = reply;
                s.assistantState = AssistantState::typing;
            });
            if (block % 10 == 9)
                QTRY_COMPARE(t.view.renderedText("live").trimmed(),
                             QString::fromStdString(reply).trimmed());
        }
        QTRY_COMPARE(t.view.renderedText("live").trimmed(),
                     QString::fromStdString(reply).trimmed());
        QCOMPARE(t.eval("document.querySelector('.status').textContent").toString(),
                 QStringLiteral("Assistant is typing..."));

        // The reply is stored: the live row gives way to the saved one.
        t.chat->set([&](ChatDetailState& s) {
            s.messages.push_back(message(2, "assistant", reply));
            s.liveMessage.reset();
            s.assistantState = AssistantState::idle;
        });
        QTRY_COMPARE(t.view.renderedText("2").trimmed(), QString::fromStdString(reply).trimmed());
        QTRY_COMPARE(t.eval("document.querySelectorAll('.row').length").toInt(), 3);
        QCOMPARE(t.eval("document.querySelector('[data-key=\"1\"]').dataset.mark").toString(),
                 QStringLiteral("kept"));
        QCOMPARE(t.view.pageLoads(), 1);
    }

    void rowsFarFromTheEndRenderWhenScrolledTo() {
        Transcript t;
        t.chat->set([](ChatDetailState& s) {
            for (int id = 1; id <= 60; ++id)
                s.messages.push_back(message(id, "assistant",
                                             "**Answer " + std::to_string(id) +
                                                 "**\n\nSome words.\n\n"
                                                 "```\ncode\n```"));
        });
        QVERIFY(t.waitReady());
        QTRY_VERIFY_WITH_TIMEOUT(!t.view.renderedText("60").isEmpty(), 10000);
        QVERIFY(t.view.renderedText("1").isEmpty());
        QCOMPARE(t.eval("document.querySelectorAll('.content.pending').length > 30").toBool(),
                 true);
        t.eval("document.scrollingElement.scrollTop = 0");
        QTRY_VERIFY(t.view.renderedText("1").startsWith("Answer 1"));
    }

    void pageButtonsAndRegenerateSendTheirInputs() {
        Transcript t;
        auto answer = message(3, "assistant", "See the paper.");
        answer.references = std::vector<Reference>{{"a", 1, 3, 0.9f}, {"b", 1, 7, 0.8f}};
        t.chat->set([&](ChatDetailState& s) {
            s.messages = {message(1, "user", "Where?"), answer};
            s.lastFinishReason = "length";
        });
        QVERIFY(t.waitReady());
        QTRY_VERIFY_WITH_TIMEOUT(!t.view.renderedText("3").isEmpty(), 10000);

        t.click("button[aria-label=\"Page 7\"]");
        t.click("button[aria-label=\"Continue generating\"]");
        t.click("button[aria-label=\"Regenerate response\"]");
        QTRY_COMPARE(t.chat->inputs.size(), size_t{3});
        auto* go = std::get_if<chat_input::GoToReference>(&t.chat->inputs[0]);
        QVERIFY(go != nullptr);
        QCOMPARE(go->reference.page, std::optional<int>(7));
        QVERIFY(std::holds_alternative<chat_input::ContinueGenerating>(t.chat->inputs[1]));
        QVERIFY(std::holds_alternative<chat_input::Regenerate>(t.chat->inputs[2]));
        QCOMPARE(t.eval("document.querySelector('button[aria-label=\"Page 7\"]').textContent")
                     .toString(),
                 QStringLiteral("7"));
    }

    void markupInAMessageRunsNothing() {
        Transcript t;
        const std::string hostile =
            "<script>window.pwned = 1</script>\n\n<img src=x onerror=\"window.pwned = 2\">\n\n"
            "[click](javascript:window.pwned=3) ![i](x\" onerror=\"window.pwned=4)\n\n"
            "$x<img src=y onerror=window.pwned=5>$";
        t.preferences.setUseLaTeX(true);
        t.chat->set([&](ChatDetailState& s) {
            s.messages = {message(1, "user", hostile), message(2, "assistant", hostile)};
        });
        QVERIFY(t.waitReady());
        QTRY_VERIFY_WITH_TIMEOUT(!t.view.renderedText("2").isEmpty(), 10000);
        t.eval("document.querySelectorAll('#rows a, #rows img').forEach(e => e.click())");
        QTest::qWait(300);
        QCOMPARE(t.eval("typeof window.pwned").toString(), QStringLiteral("undefined"));
        QCOMPARE(
            t.eval("document.querySelectorAll('#rows script, #rows [onerror]').length").toInt(), 0);
        QCOMPARE(t.view.pageLoads(), 1);
        // The markup shows as the text it is.
        QVERIFY(t.view.renderedText("2").contains("<script>"));
    }

    // The demo chat, light and then dark; the pictures are kept in
    // build/screenshots for a look.
    void theDemoChatDrawsInLightAndDark() {
        test::ShellTestCore shell;
        shell.core.chatList().trigger(chat_list_input::Sync{});
        const auto& chats = shell.core.chatList().state().chats;
        QTRY_VERIFY_WITH_TIMEOUT(!chats.empty(), 10000);
        auto chat = shell.core.chatList().find(chats.front().id());
        QVERIFY(chat.has_value());
        chat->trigger(chat_input::Sync{});
        auto& preferences = shell.core.preferences();
        preferences.setColorScheme(AppColorScheme::light);
        TranscriptView view(*chat, preferences);
        QSignalSpy rendered(&view, &TranscriptView::rowRendered);
        view.resize(900, 650);
        view.show();
        QTRY_VERIFY_WITH_TIMEOUT(rendered.count() > 0, 20000);

        const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
        QDir().mkpath(folder);
        // Painted: the corner has the scheme's background and something is
        // drawn besides it.
        auto painted = [](const QImage& image, auto wanted) {
            QSet<QRgb> colours;
            for (int y = 0; y < image.height(); y += 3)
                for (int x = 0; x < image.width(); x += 3) colours.insert(image.pixel(x, y));
            return wanted(image.pixelColor(4, 4)) && colours.size() > 20;
        };
        auto shot = [&](const QString& name, auto wanted) {
            QImage image;
            QTRY_VERIFY_WITH_TIMEOUT(painted(image = view.grab().toImage(), wanted), 10000);
            QVERIFY(image.save(folder + "/transcript-" + name + ".png"));
        };
        shot("light", [](QColor c) { return c.lightness() > 200; });
        if (QTest::currentTestFailed()) return;
        preferences.setColorScheme(AppColorScheme::dark);
        shot("dark", [](QColor c) { return c.lightness() < 60; });
        QCOMPARE(view.pageLoads(), 1);
    }
};

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    TranscriptViewTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "TranscriptViewTest.moc"
