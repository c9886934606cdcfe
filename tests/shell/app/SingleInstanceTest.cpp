#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QSignalSpy>
#include <QtTest>
#include <cstring>
#include <future>

#include "shell/app/SingleInstance.h"
#include "support/TempDir.h"

using namespace folvane;

namespace {

// Hands the paths over from another thread, as a second process would: the
// running instance answers on this thread's event loop.
std::future<bool> handOverFromElsewhere(const QString& socket, const QStringList& paths) {
    return std::async(std::launch::async, [socket, paths] {
        SingleInstance second(socket);
        return second.handOver(paths);
    });
}

bool finished(std::future<bool>& result) {
    return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

}  // namespace

class SingleInstanceTest : public QObject {
    Q_OBJECT
  private slots:
    void aSecondLaunchHandsItsFilesOrItsWelcomeToTheRunningOne() {
        test::TempDir dir;
        const QString socket = QString::fromStdString(dir / "folvane.socket");
        SingleInstance running(socket);
        QVERIFY(running.listen());
        QSignalSpy files(&running, &SingleInstance::filesRequested);
        QSignalSpy welcome(&running, &SingleInstance::welcomeRequested);

        const QStringList paths{"/home/u/Ünïcode report.pdf", "/home/u/b.pdf"};
        auto withFiles = handOverFromElsewhere(socket, paths);
        QTRY_VERIFY(finished(withFiles));
        QVERIFY(withFiles.get());
        QTRY_COMPARE(files.count(), 1);
        QCOMPARE(files.at(0).at(0).toStringList(), paths);
        QCOMPARE(welcome.count(), 0);

        auto withNone = handOverFromElsewhere(socket, {});
        QTRY_VERIFY(finished(withNone));
        QVERIFY(withNone.get());
        QTRY_COMPARE(welcome.count(), 1);
        QCOMPARE(files.count(), 1);

        // `folvane --activate`: the global shortcut's request, and nothing else.
        QSignalSpy activation(&running, &SingleInstance::activationRequested);
        auto activate = std::async(
            std::launch::async, [socket] { return SingleInstance(socket).handOverActivation(); });
        QTRY_VERIFY(finished(activate));
        QVERIFY(activate.get());
        QTRY_COMPARE(activation.count(), 1);
        QCOMPARE(welcome.count(), 1);
        QCOMPARE(files.count(), 1);
    }

    void withNoneRunningTheLaunchStartsEvenOverADeadOnesSocket() {
        test::TempDir dir;
        const std::string path = dir / "folvane.socket";
        const QString socket = QString::fromStdString(path);
        QVERIFY(!SingleInstance(socket).handOver({"/a.pdf"}));

        // A socket file that a crashed process left: bound, never listened to.
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        ::close(fd);
        QVERIFY(QFile::exists(socket));

        QVERIFY(!SingleInstance(socket).handOver({"/a.pdf"}));
        SingleInstance next(socket);
        QVERIFY(next.listen());
        QSignalSpy files(&next, &SingleInstance::filesRequested);
        auto handed = handOverFromElsewhere(socket, {"/a.pdf"});
        QTRY_VERIFY(finished(handed));
        QVERIFY(handed.get());
        QTRY_COMPARE(files.count(), 1);
    }

    void theSocketIsTheUsersInTheRuntimeFolder() {
        test::TempDir dir;
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(dir / ""));
        QCOMPARE(QFileInfo(SingleInstance::defaultSocketPath()).absolutePath(),
                 QFileInfo(QString::fromStdString(dir / "x")).absolutePath());
        QVERIFY(SingleInstance::defaultSocketPath().endsWith(
            QStringLiteral("folvane-%1.socket").arg(getuid())));
        qputenv("XDG_RUNTIME_DIR", "/nonexistent/runtime");
        QVERIFY(SingleInstance::defaultSocketPath().startsWith(QDir::tempPath()));
    }
};

QTEST_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
