#pragma once

#include <QObject>
#include <functional>

namespace folvane {

// Runs a task once, right after the watched widget has painted for the first
// time: work that can wait until the user sees the window.
class AfterFirstPaint final : public QObject {
    Q_OBJECT
  public:
    AfterFirstPaint(QObject* watched, std::function<void()> task);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    std::function<void()> task_;
};

}  // namespace folvane
