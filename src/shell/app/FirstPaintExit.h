#pragma once

#include <QElapsedTimer>
#include <QObject>

namespace folvane {

// For start-up measurements: once the watched window has painted for the
// first time, prints "first paint" with the milliseconds since this object
// was made and ends the application. main makes one only when the
// environment has FOLVANE_EXIT_AFTER_FIRST_PAINT=1.
class FirstPaintExit final : public QObject {
    Q_OBJECT
  public:
    explicit FirstPaintExit(QObject* watched);

    static bool isRequested();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QElapsedTimer sinceStart_;
    bool painted_ = false;
};

}  // namespace folvane
