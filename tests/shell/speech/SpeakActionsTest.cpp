#include <QDir>
#include <QFile>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QtTest>

#include "conversation/ViewModel.h"
#include "shell/chat/TranscriptView.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"

using namespace folvane;

namespace {

// A chat whose state the test writes and whose inputs it reads back.
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

struct Transcript {
    std::shared_ptr<ScriptedChat> chat = std::make_shared<ScriptedChat>();
    AppPreferences preferences;
    TranscriptView view{ChatDetailRef(chat), preferences};
    QStringList alerts;

    Transcript() {
        view.setShowAlert([this](QWidget*, const QString& title, const QString& text) {
            alerts << title + QStringLiteral(": ") + text;
        });
        view.resize(800, 600);
        view.show();
        chat->set([](ChatDetailState& s) {
            s.messages = {message(1, "user", "Read this."), message(2, "assistant", "Here.")};
        });
    }

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

    // The action buttons of a row as the page draws them: label, and "*"
    // after a busy one.
    QString buttons(const QString& key) {
        return eval(QStringLiteral("Array.from(document.querySelectorAll("
                                   "'[data-key=\"%1\"] .actions button')).map(b => "
                                   "b.getAttribute('aria-label') + (b.getAttribute('aria-busy') "
                                   "? '*' : '')).join('|')")
                        .arg(key))
            .toString();
    }
};

}  // namespace

class SpeakActionsTest : public QObject {
    Q_OBJECT
  private slots:
    void eachMessageSpeaksAndStops() {
        Transcript t;
        QTRY_VERIFY_WITH_TIMEOUT(
            t.buttons(QStringLiteral("2")).startsWith(QStringLiteral("Copy to clipboard|Speak|")),
            20000);
        QVERIFY(
            t.buttons(QStringLiteral("1")).startsWith(QStringLiteral("Copy to clipboard|Speak|")));

        // Without a key (and without on-device speech): the alert, no input.
        t.view.runAction(QStringLiteral("speak"), QStringLiteral("2"), -1);
        QCOMPARE(t.alerts, QStringList{QStringLiteral(
                               "OpenAI API Key Required: This feature requires an OpenAI API "
                               "Key. Go to Settings > Model > OpenAI to set up.")});
        QVERIFY(t.chat->inputs.empty());

        t.preferences.setOnDeviceSpeech(true);
        t.view.runAction(QStringLiteral("speak"), QStringLiteral("2"), -1);
        QCOMPARE(t.chat->inputs.size(), size_t(1));
        QCOMPARE(std::get<chat_input::Speak>(t.chat->inputs[0]).message.id, int64_t(2));

        // Playing, its speech on the way: "Stop Speak", busy; the other row
        // still offers "Speak".
        t.chat->set([](ChatDetailState& s) {
            s.playingMessageID = 2;
            s.downloadingSpeech = true;
        });
        QTRY_VERIFY(t.buttons(QStringLiteral("2"))
                        .startsWith(QStringLiteral("Copy to clipboard|Stop Speak*|")));
        QVERIFY(
            t.buttons(QStringLiteral("1")).startsWith(QStringLiteral("Copy to clipboard|Speak|")));
        // The action bar shows on hover and focus: the row is focused for the picture.
        t.eval(QStringLiteral("document.querySelector('[data-key=\"2\"]').focus()"));
        QTest::qWait(300);
        const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(t.view.grab().save(folder + "/speech-transcript-downloading.png"));
        t.chat->set([](ChatDetailState& s) { s.downloadingSpeech = false; });
        QTRY_VERIFY(t.buttons(QStringLiteral("2"))
                        .startsWith(QStringLiteral("Copy to clipboard|Stop Speak|")));

        t.view.runAction(QStringLiteral("speak"), QStringLiteral("2"), -1);
        QCOMPARE(t.chat->inputs.size(), size_t(2));
        QVERIFY(std::holds_alternative<chat_input::StopSpeak>(t.chat->inputs[1]));
        QCOMPARE(t.alerts.size(), 1);
    }

    void saveSpeechCopiesTheFile_data() {
        QTest::addColumn<QString>("stored");  // the speech file's name; empty: none
        QTest::addColumn<bool>("destinationWritable");
        QTest::addColumn<QString>("alert");
        QTest::newRow("copied") << "Speech-2026-11-24_1-05-09_PM.mp3" << true << QString();
        QTest::newRow("no file: no entry") << QString() << true << QString();
        QTest::newRow("the copy fails")
            << "Speech.mp3" << false << QStringLiteral("Save Speech: Failed to save file: ");
    }

    void saveSpeechCopiesTheFile() {
        QFETCH(QString, stored);
        QFETCH(bool, destinationWritable);
        QFETCH(QString, alert);
        test::TempDir dir;
        Transcript t;
        const QString source = QString::fromStdString(dir / stored.toStdString());
        if (!stored.isEmpty()) {
            test::writeFile(source.toStdString(), "ID3 not really an mp3");
            t.chat->set([&](ChatDetailState& s) {
                s.messages[1].speechFileURL = "file://" + source.toStdString();
            });
        }
        QString offeredName, offeredTitle, offeredFilter;
        const QString target =
            destinationWritable
                ? QString::fromStdString(dir / "saved.mp3")
                : QString::fromStdString((dir.path() / "missing" / "saved.mp3").string());
        t.view.setChooseSaveFile(
            [&](QWidget*, const QString& title, const QString& name, const QString& filter) {
                offeredTitle = title;
                offeredName = name;
                offeredFilter = filter;
                return target;
            });
        const QString lastButton = stored.isEmpty() ? QStringLiteral("|Delete")
                                                    : QStringLiteral("|Delete|Save speech to File");
        QTRY_VERIFY_WITH_TIMEOUT(t.buttons(QStringLiteral("2")).endsWith(lastButton), 20000);
        if (stored.isEmpty()) return;

        t.view.runAction(QStringLiteral("saveSpeech"), QStringLiteral("2"), -1);
        QCOMPARE(offeredTitle, QStringLiteral("Save message to file"));
        QCOMPARE(offeredName, stored);
        QVERIFY(offeredFilter.contains(QStringLiteral("*.mp3")));
        if (alert.isEmpty()) {
            QVERIFY(t.alerts.isEmpty());
            QCOMPARE(test::readFile(target.toStdString()), std::string("ID3 not really an mp3"));
        } else {
            QCOMPARE(t.alerts.size(), 1);
            QVERIFY2(t.alerts[0].startsWith(alert), qPrintable(t.alerts[0]));
            QVERIFY(!QFile::exists(target));
        }
    }
};

QTEST_MAIN(SpeakActionsTest)
#include "SpeakActionsTest.moc"
