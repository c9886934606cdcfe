#pragma once

#include <QObject>

namespace folvane {

// The application's own state beside the core's view models: whether a
// document from a browser is on its way (the start window then shows
// "Opening...").
class AppState final : public QObject {
    Q_OBJECT
  public:
    explicit AppState(QObject* parent = nullptr) : QObject(parent) {}

    bool openingFromBrowsers() const { return openingFromBrowsers_; }
    void setOpeningFromBrowsers(bool on) {
        if (on == openingFromBrowsers_) return;
        openingFromBrowsers_ = on;
        emit changed();
    }

  signals:
    void changed();

  private:
    bool openingFromBrowsers_ = false;
};

}  // namespace folvane
