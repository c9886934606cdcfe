#pragma once

#include <QDir>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QThread>

namespace folvane::test {

// A PulseAudio server of the test's own, so that recording runs headless and
// never touches the machine's sound: a null sink "speaker" and a virtual
// source "mic" that hears whatever plays into the sink. Both are the
// defaults, so a clip played with `play()` is what a recorder on the default
// input records.
//
// How it starts, also as root and with no session bus: a throwaway
// XDG_RUNTIME_DIR and HOME, no configuration file (-n) and no daemonising;
// the modules are named on the command line. PULSE_SERVER points this
// process (Qt Multimedia's GStreamer backend) and the helper programs at its
// socket. PulseAudio warns as root without --system and runs all the same.
// Must start before the first use of Qt Multimedia in the process.
class PulseAudioServer {
  public:
    PulseAudioServer() = default;
    PulseAudioServer(const PulseAudioServer&) = delete;
    PulseAudioServer& operator=(const PulseAudioServer&) = delete;
    ~PulseAudioServer() {
        if (server_.state() == QProcess::NotRunning) return;
        server_.terminate();
        if (!server_.waitForFinished(5000)) server_.kill();
        server_.waitForFinished(2000);
    }

    // Starts the server and waits until it answers. False, with the reason
    // in `why`, when it cannot.
    bool start(QString* why) {
        if (!dir_.isValid()) return fail(why, QStringLiteral("no temporary directory"));
        const QString runtime = dir_.filePath(QStringLiteral("runtime"));
        const QString home = dir_.filePath(QStringLiteral("home"));
        QDir().mkpath(runtime + QStringLiteral("/pulse"));
        QDir().mkpath(home);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const QString socket = runtime + QStringLiteral("/pulse/native");
        const QList<std::pair<const char*, QString>> variables = {
            {"XDG_RUNTIME_DIR", runtime},
            {"HOME", home},
            {"PULSE_RUNTIME_PATH", runtime + QStringLiteral("/pulse")},
            {"PULSE_STATE_PATH", home},
            {"PULSE_SERVER", QStringLiteral("unix:") + socket},
        };
        for (const auto& [name, value] : variables) qputenv(name, value.toLocal8Bit());
        qunsetenv("PULSE_SINK");
        qunsetenv("PULSE_SOURCE");

        server_.setProcessChannelMode(QProcess::MergedChannels);
        server_.start(QStringLiteral("pulseaudio"),
                      {QStringLiteral("--daemonize=no"), QStringLiteral("--exit-idle-time=-1"),
                       QStringLiteral("-n"), QStringLiteral("--use-pid-file=no"),
                       QStringLiteral("--log-target=stderr"),
                       QStringLiteral("--load=module-native-protocol-unix socket=") + socket,
                       QStringLiteral("--load=module-null-sink sink_name=speaker"),
                       QStringLiteral("--load=module-virtual-source source_name=mic "
                                      "master=speaker.monitor")});
        if (!server_.waitForStarted(5000))
            return fail(why, QStringLiteral("pulseaudio does not start: ") + server_.errorString());
        for (int attempt = 0; attempt < 100; ++attempt) {
            if (server_.state() == QProcess::NotRunning)
                return fail(why, QStringLiteral("pulseaudio stopped: ") +
                                     QString::fromLocal8Bit(server_.readAll()).right(400));
            if (run(QStringLiteral("pactl"), {QStringLiteral("info")})) {
                return run(QStringLiteral("pactl"),
                           {QStringLiteral("set-default-sink"), QStringLiteral("speaker")}) &&
                       run(QStringLiteral("pactl"),
                           {QStringLiteral("set-default-source"), QStringLiteral("mic")});
            }
            QThread::msleep(100);
        }
        return fail(why, QStringLiteral("pulseaudio does not answer"));
    }

    // Plays a sound file into the speaker (and so into the microphone); returns
    // once it has played.
    bool play(const QString& file) {
        return run(QStringLiteral("paplay"), {QStringLiteral("--device=speaker"), file}, 30000);
    }

    static bool run(const QString& program, const QStringList& arguments, int timeout = 5000) {
        QProcess process;
        process.start(program, arguments);
        return process.waitForFinished(timeout) && process.exitStatus() == QProcess::NormalExit &&
               process.exitCode() == 0;
    }

  private:
    static bool fail(QString* why, const QString& reason) {
        if (why) *why = reason;
        return false;
    }

    QTemporaryDir dir_;
    QProcess server_;
};

}  // namespace folvane::test
