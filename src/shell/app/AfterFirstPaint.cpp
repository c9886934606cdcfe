#include "shell/app/AfterFirstPaint.h"

#include <QEvent>
#include <QTimer>

namespace folvane {

AfterFirstPaint::AfterFirstPaint(QObject* watched, std::function<void()> task)
    : QObject(watched), task_(std::move(task)) {
    watched->installEventFilter(this);
}

bool AfterFirstPaint::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint && task_) {
        // After the paint event has been handled.
        QTimer::singleShot(0, this, [task = std::move(task_)] { task(); });
        task_ = nullptr;
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace folvane
