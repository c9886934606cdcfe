#include "shell/app/QtMainQueue.h"

namespace folvane {

QtMainQueue::QtMainQueue(QObject* parent) : QObject(parent) {}

void QtMainQueue::post(std::function<void()> block) {
    QMetaObject::invokeMethod(this, std::move(block), Qt::QueuedConnection);
}

}  // namespace folvane
