#include "shell/app/FirstPaintExit.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>
#include <cstdio>

namespace folvane {

FirstPaintExit::FirstPaintExit(QObject* watched) : QObject(watched) {
    sinceStart_.start();
    watched->installEventFilter(this);
}

bool FirstPaintExit::isRequested() {
    return qEnvironmentVariable("FOLVANE_EXIT_AFTER_FIRST_PAINT") == QLatin1String("1");
}

bool FirstPaintExit::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint && !painted_) {
        painted_ = true;
        // After the paint event has been handled.
        QTimer::singleShot(0, this, [this] {
            std::printf("first paint %.1f ms\n", sinceStart_.nsecsElapsed() / 1e6);
            std::fflush(stdout);
            QCoreApplication::quit();
        });
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace folvane
