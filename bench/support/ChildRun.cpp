#include "support/ChildRun.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

namespace folvane::bench {

namespace {

qint64 nowNs() {
    static QElapsedTimer clock = [] {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }();
    return clock.nsecsElapsed();
}

}  // namespace

QString programDirectory() {
    return QCoreApplication::applicationDirPath();
}

ChildRun::ChildRun(const QString& program, const QStringList& arguments,
                   const QProcessEnvironment& extra) {
    home_ = QDir::tempPath() + "/folvane-bench-" +
            QString::number(QCoreApplication::applicationPid()) + "-" + QString::number(nowNs());
    QDir().mkpath(home_);
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
    environment.insert("HOME", home_);
    environment.insert("XDG_DATA_HOME", home_ + "/data");
    environment.insert("XDG_CONFIG_HOME", home_ + "/config");
    environment.insert("XDG_CACHE_HOME", home_ + "/cache");
    environment.insert("XDG_RUNTIME_DIR", home_ + "/run");
    QDir().mkpath(home_ + "/run");
    QFile::setPermissions(home_ + "/run", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(extra);
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::SeparateChannels);
    process_.setStandardErrorFile(QProcess::nullDevice());
    startedNs_ = nowNs();
    process_.start(programDirectory() + "/" + program, arguments);
}

ChildRun::~ChildRun() {
    if (process_.state() != QProcess::NotRunning) {
        process_.terminate();
        if (!process_.waitForFinished(3000)) {
            process_.kill();
            process_.waitForFinished(3000);
        }
    }
    QDir(home_).removeRecursively();
}

double ChildRun::waitForLine(const QString& line, int timeoutMs) {
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < timeoutMs) {
        if (!process_.canReadLine() && !process_.waitForReadyRead(50)) {
            if (process_.state() == QProcess::NotRunning) return -1;
            continue;
        }
        while (process_.canReadLine()) {
            const QString text = QString::fromUtf8(process_.readLine());
            if (text.startsWith(line)) return (nowNs() - startedNs_) / 1e6;
        }
    }
    return -1;
}

}  // namespace folvane::bench
