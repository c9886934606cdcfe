#pragma once

#include <QImage>
#include <QObject>
#include <QVariantMap>
#include <optional>

class QEventLoop;

namespace folvane {

// The Wayland screenshot tool: the desktop portal's Screenshot with
// `interactive`, so that the desktop lets the user choose the area. Waits in
// a local event loop for the portal's answer.
class PortalScreenshot final : public QObject {
    Q_OBJECT
  public:
    // The picture the user took, nothing when they cancelled or when no
    // portal answers.
    std::optional<QImage> run();

  private slots:
    void onResponse(uint code, const QVariantMap& results);

  private:
    QEventLoop* loop_ = nullptr;
    std::optional<QImage> result_;
    bool responded_ = false;
};

}  // namespace folvane
