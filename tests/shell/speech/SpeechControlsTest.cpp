#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

#include "platform/AudioPlayer.h"
#include "platform/AudioRecorder.h"
#include "shell/chat/ComposeBox.h"
#include "shell/settings/GeneralTab.h"
#include "speech/AudioDevices.h"
#include "speech/Recording.h"
#include "speech/SpeechLanguages.h"
#include "store/AppPreferences.h"
#include "support/RecordingChat.h"

using namespace folvane;

namespace {

// The microphone as the desktop would report it; nothing records here (the
// recording itself is QtAudioRecorderTest's).
class ReportedAccess final : public AudioDevices {
  public:
    struct Recorder final : AudioRecorder {
        MicrophoneAccess reported;
        explicit Recorder(MicrophoneAccess access) : reported(access) {}
        MicrophoneAccess access() override { return reported; }
        void prepare(const std::filesystem::path&, const AudioRecorderSettings&) override {}
        void record() override {}
        void stop() override {}
    };
    MicrophoneAccess access = MicrophoneAccess::authorized;
    std::unique_ptr<AudioRecorder> makeRecorder() override {
        return std::make_unique<Recorder>(access);
    }
    std::unique_ptr<AudioPlayer> makePlayer() override { return nullptr; }
};

struct Alert {
    QString title;
    QString text;
};

const QString keyText = QStringLiteral(
    "This feature requires an OpenAI API Key. Go to Settings > Model > OpenAI to set up.");

// Saves a picture of the widget to build/screenshots/NAME.png.
void saveScreenshot(QWidget& widget, const QString& name) {
    const QString folder = QCoreApplication::applicationDirPath() + "/../screenshots";
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(widget.grab().save(folder + "/" + name + ".png"));
}

}  // namespace

Q_DECLARE_METATYPE(MicrophoneAccess)

class SpeechControlsTest : public QObject {
    Q_OBJECT
  private slots:
    void theRecordButtonAsksFirst_data() {
        QTest::addColumn<bool>("hasKey");
        QTest::addColumn<bool>("onDevice");
        QTest::addColumn<MicrophoneAccess>("access");
        QTest::addColumn<QString>("alertTitle");  // empty: it records
        QTest::newRow("no key") << false << false << MicrophoneAccess::authorized
                                << QStringLiteral("OpenAI API Key Required");
        QTest::newRow("no key, on-device speech")
            << false << true << MicrophoneAccess::authorized << QString();
        QTest::newRow("key") << true << false << MicrophoneAccess::authorized << QString();
        QTest::newRow("not determined records")
            << true << false << MicrophoneAccess::notDetermined << QString();
        QTest::newRow("denied") << true << false << MicrophoneAccess::denied
                                << QStringLiteral("Permission Denied");
        QTest::newRow("restricted") << true << false << MicrophoneAccess::restricted
                                    << QStringLiteral("Permission Restricted");
        QTest::newRow("no microphone")
            << true << false << MicrophoneAccess::missing << QStringLiteral("No Microphone");
        QTest::newRow("no key comes before the microphone")
            << false << false << MicrophoneAccess::missing
            << QStringLiteral("OpenAI API Key Required");
    }

    void theRecordButtonAsksFirst() {
        QFETCH(bool, hasKey);
        QFETCH(bool, onDevice);
        QFETCH(MicrophoneAccess, access);
        QFETCH(QString, alertTitle);
        AppPreferences preferences;
        if (hasKey) preferences.setOpenAIKey("test-key-" + std::to_string(rand()));
        preferences.setOnDeviceSpeech(onDevice);
        ReportedAccess devices;
        devices.access = access;
        test::RecordingChatRef chat;
        ComposeBox box(chat.ref, preferences);
        box.setAudioDevices(&devices);
        std::vector<Alert> alerts;
        box.setShowAlert([&](QWidget*, const QString& title, const QString& text) {
            alerts.push_back({title, text});
        });

        box.recordButton()->click();
        if (alertTitle.isEmpty()) {
            QVERIFY(alerts.empty());
            const auto started = chat.chat->sent<chat_input::StartRecording>();
            QCOMPARE(started.size(), size_t(1));
            QVERIFY(box.isRecording());
            QVERIFY(box.recordButton()->isChecked());
            // On-device speech records WAV for the recogniser.
            QCOMPARE(started[0].recording->settings().format,
                     onDevice ? AudioFileFormat::wav : AudioFileFormat::aacM4a);
            box.recordButton()->click();
            const auto stopped = chat.chat->sent<chat_input::StopRecording>();
            QCOMPARE(stopped.size(), size_t(1));
            QCOMPARE(stopped[0].recording, started[0].recording);
            QVERIFY(!box.isRecording());
        } else {
            QCOMPARE(alerts.size(), size_t(1));
            QCOMPARE(alerts[0].title, alertTitle);
            if (alertTitle.startsWith(QStringLiteral("Permission")))
                QVERIFY(alerts[0].text.startsWith(
                    QStringLiteral("Unable to obtain Audio Record permission.")));
            if (alertTitle == QStringLiteral("OpenAI API Key Required"))
                QCOMPARE(alerts[0].text, keyText);
            QVERIFY(chat.chat->inputs.empty());
            QVERIFY(!box.isRecording());
            QVERIFY(!box.recordButton()->isChecked());
        }
    }

    void theFieldFollowsTheDictation() {
        AppPreferences preferences;
        preferences.setOpenAIKey("test-key-" + std::to_string(rand()));
        ReportedAccess devices;
        test::RecordingChatRef chat;
        ComposeBox box(chat.ref, preferences);
        box.setAudioDevices(&devices);
        QCOMPARE(box.recordButton()->accessibleName(), QStringLiteral("Record speech"));
        box.recordButton()->click();
        chat.chat->change([](ChatDetailState& s) { s.recordingState = RecordingState::Recording; });
        QCOMPARE(box.textEdit()->placeholderText(), QStringLiteral("Recording..."));
        QVERIFY(box.recordButton()->isVisible() || !box.isVisible());
        box.resize(600, 160);
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        saveScreenshot(box, QStringLiteral("speech-compose-recording"));

        box.recordButton()->click();
        chat.chat->change([](ChatDetailState& s) {
            s.recordingState = RecordingState::Transcribing;
            s.latestTranscriptionContent.clear();
        });
        QCOMPARE(box.textEdit()->placeholderText(), QStringLiteral("Transcribing..."));
        chat.chat->change([](ChatDetailState& s) {
            s.recordingState = RecordingState::Completed;
            s.latestTranscriptionContent = "Hello there.";
        });
        QCOMPARE(box.text(), QStringLiteral("Hello there."));
        // Another state change does not add it twice.
        chat.chat->change([](ChatDetailState& s) { s.searchKeyword = "x"; });
        QCOMPARE(box.text(), QStringLiteral("Hello there."));

        // A second dictation is appended to what the field holds, without a
        // separator; an empty transcript (sent at once) adds nothing.
        for (const auto& [content, expected] :
             {std::pair{std::string(" And more."), QStringLiteral("Hello there. And more.")},
              std::pair{std::string(), QStringLiteral("Hello there. And more.")}}) {
            chat.chat->change(
                [](ChatDetailState& s) { s.recordingState = RecordingState::Recording; });
            chat.chat->change([&](ChatDetailState& s) {
                s.recordingState = RecordingState::Completed;
                s.latestTranscriptionContent = content;
            });
            QCOMPARE(box.text(), expected);
        }
    }

    void theSpeechSettingsBindBothWays_data() {
        QTest::addColumn<QString>("control");
        QTest::addColumn<Setting>("setting");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("stored");
        QTest::newRow("language") << "Select Language" << Setting::sttLanguageCode << 2
                                  << "Afrikaans"
                                  << "af";
        QTest::newRow("language, auto detect")
            << "Select Language" << Setting::sttLanguageCode << 0 << "Auto Detect"
            << "";
        QTest::newRow("language, last")
            << "Select Language" << Setting::sttLanguageCode << 57 << "Welsh"
            << "cy";
        QTest::newRow("voice") << "Default Voice" << Setting::speechVoice << 3 << "onyx"
                               << "onyx";
        QTest::newRow("voice model") << "Voice Model" << Setting::voiceModel << 1 << "TTS 1 HD"
                                     << "tts-1-hd";
    }

    void theSpeechSettingsBindBothWays() {
        QFETCH(QString, control);
        QFETCH(Setting, setting);
        QFETCH(int, index);
        QFETCH(QString, label);
        QFETCH(QString, stored);
        AppPreferences preferences;
        GeneralTab tab(preferences);
        QComboBox* box = nullptr;
        for (auto* candidate : tab.findChildren<QComboBox*>())
            if (candidate->accessibleName() == control) box = candidate;
        QVERIFY(box);
        if (control == QStringLiteral("Select Language"))
            QCOMPARE(box->count(), int(speechLanguages().size()));

        box->setCurrentIndex(index);
        emit box->activated(index);
        QCOMPARE(box->currentText(), label);
        QCOMPARE(QString::fromStdString(preferences.value(setting).get<std::string>()), stored);

        // Written elsewhere: the picker follows.
        preferences.setValue(setting, std::string(index == 0 ? "en" : ""));
        QCOMPARE(box->currentData().toString(), QString(index == 0 ? "en" : ""));
        preferences.setValue(setting, stored.toStdString());
        QCOMPARE(box->currentText(), label);
    }

    void theSpeechSwitchesBind_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Setting>("setting");
        QTest::newRow("auto send")
            << "Auto send the message after speak" << Setting::autoSendMessageAfterSpeak;
        QTest::newRow("on-device") << "On-device speech" << Setting::onDeviceSpeech;
    }

    void theSpeechSwitchesBind() {
        QFETCH(QString, text);
        QFETCH(Setting, setting);
        AppPreferences preferences;
        GeneralTab tab(preferences);
        QCheckBox* box = nullptr;
        for (auto* candidate : tab.findChildren<QCheckBox*>())
            if (candidate->accessibleName() == text) box = candidate;
        QVERIFY(box);
        QCOMPARE(box->isChecked(), false);
        box->click();
        QCOMPARE(preferences.value(setting).get<bool>(), true);
        preferences.setValue(setting, false);
        QCOMPARE(box->isChecked(), false);
    }

    void theVoiceSampleSaysWhyItCannotPlay() {
        QCOMPARE(GeneralTab::voiceSampleUrl(QStringLiteral("nova")),
                 QStringLiteral("https://cdn.openai.com/API/docs/audio/nova.wav"));
        AppPreferences preferences;
        GeneralTab tab(preferences);
        tab.resize(760, 1400);
        tab.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tab));
        saveScreenshot(tab, QStringLiteral("speech-general-tab"));
        QPushButton* play = nullptr;
        for (auto* candidate : tab.findChildren<QPushButton*>())
            if (candidate->accessibleName() == QStringLiteral("Play")) play = candidate;
        QVERIFY(play);
        QVERIFY(play->focusPolicy() & Qt::TabFocus);
        play->click();
        // No network here: the stream fails, and the line beside the button
        // says so in words.
        QTRY_VERIFY_WITH_TIMEOUT(
            tab.sampleStatus().startsWith(QStringLiteral("The sample cannot be played: ")), 20000);
    }
};

QTEST_MAIN(SpeechControlsTest)
#include "SpeechControlsTest.moc"
