#include "shell/capture/PortalScreenshot.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QEventLoop>
#include <QUrl>
#include <QUuid>

#include "platform/Log.h"

namespace folvane {
namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

}  // namespace

std::optional<QImage> PortalScreenshot::run() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return std::nullopt;
    // The request's object path is known before the call, from our bus name
    // and the token, so that its answer cannot come before we listen for it.
    const QString token =
        QStringLiteral("folvane") + QUuid::createUuid().toString(QUuid::Id128).left(12);
    QString sender = bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString request = portalPath + QStringLiteral("/request/") + sender + '/' + token;
    bus.connect(portalService, request, QStringLiteral("org.freedesktop.portal.Request"),
                QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));

    QDBusInterface screenshot(portalService, portalPath,
                              QStringLiteral("org.freedesktop.portal.Screenshot"), bus);
    const QVariantMap options{{QStringLiteral("handle_token"), token},
                              {QStringLiteral("interactive"), true},
                              {QStringLiteral("modal"), true}};
    const QDBusReply<QDBusObjectPath> reply =
        screenshot.call(QStringLiteral("Screenshot"), QString(), options);
    if (!reply.isValid()) {
        // No portal on this desktop: the button does nothing, as for a
        // cancelled selection; the log says why.
        log("Screenshot portal: " + reply.error().message().toStdString());
        bus.disconnect(portalService, request, QStringLiteral("org.freedesktop.portal.Request"),
                       QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
        return std::nullopt;
    }
    if (reply.value().path() != request) {
        // An older portal picks its own path.
        bus.connect(portalService, reply.value().path(),
                    QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"),
                    this, SLOT(onResponse(uint, QVariantMap)));
    }
    QEventLoop loop;
    loop_ = &loop;
    if (!responded_) loop.exec();
    loop_ = nullptr;
    return result_;
}

void PortalScreenshot::onResponse(uint code, const QVariantMap& results) {
    responded_ = true;
    if (code == 0) {
        const QUrl uri(results.value(QStringLiteral("uri")).toString());
        QImage picture(uri.toLocalFile());
        if (!picture.isNull()) result_ = picture;
    }
    if (loop_) loop_->quit();
}

}  // namespace folvane
