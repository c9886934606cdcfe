#include "shell/app/SingleInstance.h"

#include <unistd.h>

#include <QDataStream>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>

namespace folvane {

namespace {

constexpr quint32 requestMagic = 0x466f6c31;     // "Fol1"
constexpr quint32 activationMagic = 0x466f6c41;  // "FolA"
const QByteArray acknowledgement = QByteArrayLiteral("ok");
constexpr int waitMilliseconds = 5000;

}  // namespace

QString SingleInstance::defaultSocketPath() {
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists()) folder = QDir::tempPath();
    return QDir(folder).filePath(QStringLiteral("folvane-%1.socket").arg(getuid()));
}

SingleInstance::SingleInstance(QString socketPath, QObject* parent)
    : QObject(parent), socketPath_(std::move(socketPath)) {}

SingleInstance::~SingleInstance() {
    if (server_) server_->close();
}

bool SingleInstance::handOver(const QStringList& paths) const {
    return send(requestMagic, paths);
}

bool SingleInstance::handOverActivation() const {
    return send(activationMagic, {});
}

bool SingleInstance::send(quint32 magic, const QStringList& paths) const {
    QLocalSocket socket;
    socket.connectToServer(socketPath_);
    if (!socket.waitForConnected(waitMilliseconds)) return false;
    QByteArray request;
    QDataStream out(&request, QIODevice::WriteOnly);
    out << magic << paths;
    socket.write(request);
    if (!socket.waitForBytesWritten(waitMilliseconds)) return false;
    while (socket.bytesAvailable() < acknowledgement.size()) {
        if (!socket.waitForReadyRead(waitMilliseconds)) return false;
    }
    const bool taken = socket.read(acknowledgement.size()) == acknowledgement;
    socket.disconnectFromServer();
    return taken;
}

bool SingleInstance::listen() {
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    // Only called when no instance answered: a socket file still there is a
    // dead process's.
    QLocalServer::removeServer(socketPath_);
    if (!server_->listen(socketPath_)) return false;
    connect(server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
    return true;
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            QDataStream in(socket);
            in.startTransaction();
            quint32 magic = 0;
            QStringList paths;
            in >> magic >> paths;
            if (!in.commitTransaction()) return;
            if (magic != requestMagic && magic != activationMagic) {
                socket->disconnectFromServer();
                return;
            }
            socket->write(acknowledgement);
            socket->flush();
            // Outside the socket's handler: opening may show a modal alert.
            QTimer::singleShot(0, this, [this, paths, magic] {
                if (magic == activationMagic) {
                    emit activationRequested();
                } else if (paths.isEmpty()) {
                    emit welcomeRequested();
                } else {
                    emit filesRequested(paths);
                }
            });
        });
    }
}

}  // namespace folvane
