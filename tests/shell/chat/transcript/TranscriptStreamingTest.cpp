#include <QApplication>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QtTest>

#include "conversation/ViewModel.h"
#include "shell/chat/TranscriptView.h"
#include "shell/chat/transcript/TranscriptPagePool.h"
#include "store/AppPreferences.h"

using namespace folvane;

namespace {

class ScriptedChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    ScriptedChat() : PublishingViewModel(ChatDetailState{}) {}
    void trigger(ChatDetailInput) override {}
    void set(const std::function<void(ChatDetailState&)>& change) { updateState(change); }
};

Message message(int64_t id, std::string role, std::string content) {
    Message m;
    m.id = id;
    m.role = std::move(role);
    m.content = std::move(content);
    return m;
}

QVariant eval(TranscriptView& view, const QString& script) {
    QVariant result;
    bool done = false;
    view.webView()->page()->runJavaScript(script, [&](const QVariant& value) {
        result = value;
        done = true;
    });
    if (!QTest::qWaitFor([&] { return done; }, 10000)) return QStringLiteral("(no answer)");
    return result;
}

QString contentHtml(TranscriptView& view, const QString& key) {
    return eval(view,
                QStringLiteral("document.querySelector('[data-key=\"%1\"] .content').innerHTML")
                    .arg(key))
        .toString();
}

// Changes the chat and waits until the page has painted the change.
bool change(ScriptedChat& chat, TranscriptView& view,
            const std::function<void(ChatDetailState&)>& edit) {
    const int before = view.updatesSent();
    chat.set(edit);
    return QTest::qWaitFor(
        [&] { return view.updatesSent() > before && view.paintedUpdates() >= view.updatesSent(); },
        10000);
}

}  // namespace

class TranscriptStreamingTest : public QObject {
    Q_OBJECT
  private slots:
    void aStreamedReplyEndsAsItsOneShotRender_data() {
        QTest::addColumn<QString>("reply");
        // Whether the first block, finished three quarters in, stays drawn.
        QTest::addColumn<bool>("keepsFirstBlock");
        QTest::newRow("code, lists, math, a table and a quote")
            << QStringLiteral(
                   "# Plan\n\nFirst *this*, then $a^2 + b^2$.\n\n- one\n- two\n\n  still two\n\n"
                   "```python\ndef f(x):\n\n    return x\n```\n\n$$\n\\int_0^1 x\\,dx\n$$\n\n"
                   "| a | b |\n|---|---|\n| 1 | 2 |\n\n> quoted\n> lines\n\nThe end, with a "
                   "long paragraph that goes on.\n")
            << true;
        QTest::newRow("an ordered list picked up after a blank line")
            << QStringLiteral("1. one\n\n2. two\n\n3. three\n\nAfter the list.\n\n4. four\n")
            << true;
        QTest::newRow("a link whose definition comes last")
            << QStringLiteral(
                   "See [the notes][n].\n\nMore words here.\n\n[n]: https://example.org/notes\n")
            << false;
        QTest::newRow("indented code across a blank line")
            << QStringLiteral("Code:\n\n    a = 1\n\n    b = 2\n\nDone.\n") << true;
        QTest::newRow("a fence left open") << QStringLiteral("Text.\n\n```\nopen\n\nfence") << true;
    }

    // The reply arrives a few characters at a time, each step painted; at the
    // end the streamed row, and the stored message that takes its place,
    // read and look exactly like the same text rendered in one go.
    void aStreamedReplyEndsAsItsOneShotRender() {
        QFETCH(QString, reply);
        QFETCH(bool, keepsFirstBlock);
        auto chat = std::make_shared<ScriptedChat>();
        AppPreferences preferences;
        preferences.setUseLaTeX(true);
        chat->set([](ChatDetailState& s) {
            s.messages = {message(1, "user", "Explain")};
            s.liveMessage = message(Message::liveMessageId, "assistant", "");
            s.assistantState = AssistantState::typing;
        });
        TranscriptView view(ChatDetailRef(chat), preferences);
        view.resize(800, 600);
        view.show();
        QVERIFY(QTest::qWaitFor([&] { return view.isPageReady(); }, 20000));

        const std::string text = reply.toStdString();
        bool marked = false;
        for (size_t end = 9; end < text.size() + 9; end += 9) {
            QVERIFY(change(*chat, view, [&](ChatDetailState& s) {
                s.liveMessage->content = text.substr(0, std::min(end, text.size()));
            }));
            // A finished block is drawn for good (unless a link definition
            // ties the message together).
            if (!marked && end >= text.size() * 3 / 4)
                marked = eval(view,
                              "(() => { const first = document.querySelector('[data-key=\"live\"] "
                              ".content').firstElementChild; if (!first) return false; "
                              "first.dataset.kept = 'yes'; return true; })()")
                             .toBool();
        }
        QVERIFY(marked);
        QCOMPARE(eval(view,
                      "(() => { const kept = document.querySelectorAll('[data-kept]'); "
                      "kept.forEach(e => delete e.dataset.kept); return kept.length; })()")
                     .toInt(),
                 keepsFirstBlock ? 1 : 0);
        const QString streamed = contentHtml(view, "live");
        const QString streamedText = view.renderedText("live");

        // The same text as a finished message, rendered in one go.
        QVERIFY(change(*chat, view, [&](ChatDetailState& s) {
            s.messages.push_back(message(9, "assistant", text));
        }));
        QTRY_VERIFY_WITH_TIMEOUT(!view.renderedText("9").isEmpty(), 10000);
        const QString oneShot = contentHtml(view, "9");
        QVERIFY(!oneShot.isEmpty());
        QCOMPARE(streamed, oneShot);
        QCOMPARE(streamedText, view.renderedText("9"));

        // Stored: the saved message replaces the live row and still equals it.
        QVERIFY(change(*chat, view, [&](ChatDetailState& s) {
            s.messages = {message(1, "user", "Explain"), message(2, "assistant", text)};
            s.liveMessage.reset();
            s.assistantState = AssistantState::idle;
        }));
        QTRY_VERIFY_WITH_TIMEOUT(!view.renderedText("2").isEmpty(), 10000);
        QCOMPARE(contentHtml(view, "2"), oneShot);
        QCOMPARE(view.renderedText("2"), view.renderedText("9"));
        QCOMPARE(eval(view, "document.querySelectorAll('[data-key=\"live\"]').length").toInt(), 0);
        QCOMPARE(view.pageLoads(), 1);
    }

    // A page the pool loaded ahead serves the next view at once; the view
    // after that loads its own.
    void aPreparedPageServesTheNextViewAtOnce() {
        TranscriptPagePool pool;
        pool.prepare();
        QTRY_VERIFY_WITH_TIMEOUT(pool.hasReadySpare(), 20000);
        auto chat = std::make_shared<ScriptedChat>();
        chat->set([](ChatDetailState& s) { s.messages = {message(3, "assistant", "**Ready**")}; });
        AppPreferences preferences;
        TranscriptView view(ChatDetailRef(chat), preferences, nullptr, &pool);
        QVERIFY(view.isPageReady());
        QVERIFY(!pool.hasReadySpare());
        view.show();
        QTRY_COMPARE_WITH_TIMEOUT(view.renderedText("3"), QStringLiteral("Ready"), 10000);
        QCOMPARE(view.pageLoads(), 1);

        TranscriptView next(ChatDetailRef(chat), preferences, nullptr, &pool);
        QVERIFY(!next.isPageReady());
        next.show();
        QTRY_COMPARE_WITH_TIMEOUT(next.renderedText("3"), QStringLiteral("Ready"), 20000);
        QCOMPARE(next.pageLoads(), 1);
        QVERIFY(!pool.hasReadySpare());
    }

    // A long chat shows its last rows first and the others after; changes
    // that come meanwhile land in the right places.
    void aLongChatDrawsEveryRowInOrder() {
        auto chat = std::make_shared<ScriptedChat>();
        chat->set([](ChatDetailState& s) {
            for (int id = 1; id <= 300; ++id)
                s.messages.push_back(
                    message(id, id % 2 ? "user" : "assistant", "Message " + std::to_string(id)));
        });
        AppPreferences preferences;
        TranscriptView view(ChatDetailRef(chat), preferences);
        view.resize(800, 600);
        view.show();
        QVERIFY(QTest::qWaitFor([&] { return view.isPageReady(); }, 20000));
        chat->set([](ChatDetailState& s) {
            s.messages.erase(s.messages.begin() + 4);      // message 5
            s.messages[9].content = "Message 11, edited";  // user rows carry their text
            s.messages.push_back(message(301, "assistant", "The last word"));
        });
        QTRY_VERIFY_WITH_TIMEOUT(
            eval(view, "document.querySelectorAll('#rows .row.user, #rows .row.assistant').length")
                    .toInt() == 300,
            20000);
        const QString keys =
            eval(view,
                 "Array.from(document.querySelectorAll('#rows .row.user, #rows .row.assistant'))"
                 ".map(e => e.dataset.key).join(',')")
                .toString();
        QStringList expected;
        for (int id = 1; id <= 301; ++id)
            if (id != 5) expected << QString::number(id);
        QCOMPARE(keys, expected.join(','));
        QCOMPARE(eval(view, "document.querySelector('[data-key=\"11\"] .bubble').textContent")
                     .toString(),
                 QStringLiteral("Message 11, edited"));
        QTRY_COMPARE(view.renderedText("301"), QStringLiteral("The last word"));
    }
};

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    TranscriptStreamingTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "TranscriptStreamingTest.moc"
