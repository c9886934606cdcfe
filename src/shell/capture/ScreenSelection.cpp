#include "shell/capture/ScreenSelection.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <memory>
#include <vector>

#include "shell/capture/SelectionOverlay.h"

namespace folvane {

std::optional<QImage> ScreenSelection::run() {
    // Every screen is grabbed before any overlay shows, so that no overlay
    // appears in another screen's picture.
    std::vector<std::pair<QPixmap, QRect>> screens;
    for (QScreen* screen : QGuiApplication::screens()) {
        QPixmap frozen = screen->grabWindow(0);
        if (frozen.isNull()) continue;
        frozen.setDevicePixelRatio(screen->devicePixelRatio());
        screens.emplace_back(frozen, screen->geometry());
    }
    if (screens.empty()) return std::nullopt;

    QEventLoop loop;
    std::optional<QImage> result;
    std::vector<std::unique_ptr<SelectionOverlay>> overlays;
    for (const auto& [frozen, geometry] : screens) {
        auto overlay = std::make_unique<SelectionOverlay>(frozen, geometry);
        QObject::connect(overlay.get(), &SelectionOverlay::taken, &loop,
                         [&](const QImage& picture) {
                             result = picture;
                             loop.quit();
                         });
        QObject::connect(overlay.get(), &SelectionOverlay::cancelled, &loop, &QEventLoop::quit);
        overlays.push_back(std::move(overlay));
    }
    for (auto& overlay : overlays) {
        overlay->showFullScreen();
        overlay->raise();
    }
    // The overlay under the pointer takes the keyboard, so that Escape and
    // Enter reach it at once.
    SelectionOverlay* first = overlays.front().get();
    for (auto& overlay : overlays)
        if (overlay->geometry().contains(QCursor::pos())) first = overlay.get();
    first->activateWindow();
    first->setFocus();
    QTimer::singleShot(0, first, [first] {
        first->activateWindow();
        first->grabKeyboard();
    });
    loop.exec();
    for (auto& overlay : overlays) {
        overlay->releaseKeyboard();
        overlay->hide();
    }
    return result;
}

}  // namespace folvane
