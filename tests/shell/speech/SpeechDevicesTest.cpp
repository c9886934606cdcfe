#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QtTest>
#include <cmath>
#include <cstring>
#include <optional>

#include "platform/PocketsphinxRecognizer.h"
#include "shell/speech/QtAudioPlayer.h"
#include "shell/speech/QtAudioRecorder.h"
#include "shell/speech/QtSpeechSynthesizer.h"
#include "speech/PulseAudioServer.h"
#include "support/TempDir.h"

using namespace folvane;

namespace {

const QString spoken = QStringLiteral("the quick brown fox jumps over the lazy dog");

uint32_t le32(const QByteArray& bytes, qsizetype at) {
    uint32_t value = 0;
    std::memcpy(&value, bytes.constData() + at, 4);
    return value;
}
uint16_t le16(const QByteArray& bytes, qsizetype at) {
    uint16_t value = 0;
    std::memcpy(&value, bytes.constData() + at, 2);
    return value;
}

struct WavFile {
    int format = 0, channels = 0, sampleRate = 0, bits = 0;
    QByteArray samples;
};

// The fmt and data chunks of a RIFF WAVE file; nothing when it is not one.
std::optional<WavFile> readWav(const QByteArray& bytes) {
    if (bytes.size() < 12 || !bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WAVE") return {};
    WavFile wav;
    for (qsizetype at = 12; at + 8 <= bytes.size();) {
        const QByteArray id = bytes.mid(at, 4);
        const qsizetype size = le32(bytes, at + 4);
        if (id == "fmt " && at + 24 <= bytes.size()) {
            wav.format = le16(bytes, at + 8);
            wav.channels = le16(bytes, at + 10);
            wav.sampleRate = static_cast<int>(le32(bytes, at + 12));
            wav.bits = le16(bytes, at + 22);
        } else if (id == "data") {
            wav.samples = bytes.mid(at + 8, size);
        }
        at += 8 + size + (size & 1);
    }
    return wav;
}

// The root mean square of 16-bit samples, 0 to 32767.
double loudness(const QByteArray& samples) {
    const auto* data = reinterpret_cast<const int16_t*>(samples.constData());
    const qsizetype count = samples.size() / 2;
    if (count == 0) return 0;
    double sum = 0;
    for (qsizetype i = 0; i < count; ++i) sum += double(data[i]) * data[i];
    return std::sqrt(sum / double(count));
}

}  // namespace

class SpeechDevicesTest : public QObject {
    Q_OBJECT
  private:
    test::PulseAudioServer pulse_;
    test::TempDir dir_;
    QString clip_;

    // Records the clip through a recorder in the given format; the file's path.
    QString recordClip(const QString& name, const AudioRecorderSettings& settings) {
        QtAudioRecorder recorder;
        std::optional<bool> finished;
        QStringList errors;
        recorder.finished = [&](bool success) { finished = success; };
        recorder.encodeError = [&](const std::string& text) {
            errors << QString::fromStdString(text);
        };
        [&] { QCOMPARE(recorder.access(), MicrophoneAccess::authorized); }();
        const std::filesystem::path file = dir_ / name.toStdString();
        recorder.prepare(file, settings);
        recorder.record();
        QTest::qWait(300);
        [&] { QVERIFY(pulse_.play(clip_)); }();
        QTest::qWait(300);
        recorder.stop();
        [&] { QTRY_VERIFY_WITH_TIMEOUT(finished.has_value(), 10000); }();
        [&] {
            QVERIFY2(errors.isEmpty(), qPrintable(errors.join(QLatin1Char('\n'))));
            QVERIFY(*finished);
        }();
        return QString::fromStdString(file.string());
    }

  private slots:
    void initTestCase() {
        QString why;
        if (!pulse_.start(&why))
            QSKIP(qPrintable(QStringLiteral("PulseAudio cannot start here: ") + why));
        clip_ = QString::fromStdString(dir_ / "clip.wav");
        QVERIFY(test::PulseAudioServer::run(
            QStringLiteral("flite"), {QStringLiteral("-voice"), QStringLiteral("slt"),
                                      QStringLiteral("-t"), spoken, QStringLiteral("-o"), clip_}));
    }

    void recordsMpeg4Aac() {
        const QString path = recordClip(QStringLiteral("recording.m4a"), AudioRecorderSettings{});
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        // An ISO base media file opens with its ftyp box, and an AAC track
        // has an mp4a sample entry.
        QCOMPARE(bytes.mid(4, 4), QByteArray("ftyp"));
        QVERIFY(bytes.contains("mp4a"));
        QProcess describe;
        describe.start(QStringLiteral("file"), {QStringLiteral("-b"), path});
        QVERIFY(describe.waitForFinished());
        const QString kind = QString::fromUtf8(describe.readAllStandardOutput());
        QVERIFY2(
            kind.contains(QStringLiteral("MPEG v4")) || kind.contains(QStringLiteral("ISO Media")),
            qPrintable(kind));
    }

    void recordsWavForOnDeviceRecognition() {
        AudioRecorderSettings settings;
        settings.format = AudioFileFormat::wav;
        settings.sampleRate = 16000;
        const QString path = recordClip(QStringLiteral("recording.wav"), settings);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const auto wav = readWav(file.readAll());
        QVERIFY(wav);
        QCOMPARE(wav->format, 1);  // linear PCM
        QCOMPARE(wav->channels, 1);
        QCOMPARE(wav->sampleRate, 16000);
        QCOMPARE(wav->bits, 16);
        // Longer than the clip's two seconds, and it heard the clip.
        QVERIFY2(wav->samples.size() > 2 * 16000 * 2,
                 qPrintable(QString::number(wav->samples.size())));
        QVERIFY2(loudness(wav->samples) > 300, qPrintable(QString::number(loudness(wav->samples))));

        // What the on-device recogniser makes of it: the clip's words (at
        // least most of them: the sound went through the sound server twice).
        PocketsphinxRecognizer recognizer;
        const QString heard = QString::fromStdString(recognizer.recognize(path.toStdString()));
        qInfo("Heard: %s", qPrintable(heard));
        int found = 0;
        const QStringList words = spoken.split(QLatin1Char(' '));
        for (const QString& word : words)
            if (heard.contains(word, Qt::CaseInsensitive)) ++found;
        QVERIFY2(found * 4 >= words.size() * 3, qPrintable(heard));
    }

    void thePlayerPlaysToTheEndOrSaysWhy() {
        QtAudioPlayer player;
        int finished = 0;
        QStringList failures;
        player.finished = [&] { ++finished; };
        player.failed = [&](const std::string& text) { failures << QString::fromStdString(text); };
        // The dictation's own start sound, as the build tree has it.
        player.play(test::resourceDir() + "/sounds/sound-start.mp3", 1.0f);
        QTRY_COMPARE_WITH_TIMEOUT(finished, 1, 10000);
        QVERIFY(failures.isEmpty());

        QVERIFY_THROWS_EXCEPTION(std::runtime_error, player.play(dir_ / "none.mp3", 1.0f));
        const std::string garbage = dir_ / "garbage.mp3";
        test::writeFile(garbage, std::string(4096, '\x5a'));
        player.play(garbage, 1.0f);
        QTRY_VERIFY_WITH_TIMEOUT(!failures.isEmpty(), 10000);
        QCOMPARE(finished, 1);
    }

    void theOnDeviceVoiceReadsAloudToTheEnd() {
        QtSpeechSynthesizer voice;
        QCOMPARE(voice.engine(), QStringLiteral("flite"));
        int finished = 0;
        voice.finished = [&] { ++finished; };
        voice.say("Reading aloud.");
        QTRY_COMPARE_WITH_TIMEOUT(finished, 1, 15000);
        // Stopped half way: no end is reported.
        voice.say("A longer sentence that is stopped before it ends, and so it never finishes.");
        QTRY_VERIFY_WITH_TIMEOUT(voice.isSpeaking(), 5000);
        voice.stop();
        QTest::qWait(500);
        QCOMPARE(finished, 1);
    }

    void aFileThatCannotBeWrittenFailsBeforeRecording() {
        QtAudioRecorder recorder;
        QVERIFY_THROWS_EXCEPTION(
            std::runtime_error,
            recorder.prepare(dir_.path() / "missing" / "recording.m4a", AudioRecorderSettings{}));
    }
};

QTEST_MAIN(SpeechDevicesTest)
#include "SpeechDevicesTest.moc"
