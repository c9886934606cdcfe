#pragma once

#include <QObject>

#include "runtime/MainQueue.h"

namespace folvane {

// The core's main queue on the Qt event loop: a posted block runs on the GUI
// thread as a queued call, in the order of posting. Safe to post from any
// thread; blocks still queued when the object goes are dropped.
class QtMainQueue final : public QObject, public MainQueue {
    Q_OBJECT
  public:
    explicit QtMainQueue(QObject* parent = nullptr);
    void post(std::function<void()> block) override;
};

}  // namespace folvane
