#include "shell/start/ShowInFileManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace folvane {

void showInFileManager(const QString& fileUrl) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.FileManager1"),
            QStringLiteral("/org/freedesktop/FileManager1"),
            QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
        call << QStringList{fileUrl} << QString();
        if (bus.call(call, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage) return;
    }
    const QString folder = QFileInfo(QUrl(fileUrl).toLocalFile()).absolutePath();
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

}  // namespace folvane
