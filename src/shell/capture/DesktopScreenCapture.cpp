#include "shell/capture/DesktopScreenCapture.h"

#include <QGuiApplication>
#include <QImage>
#include <optional>
#include <system_error>

#include "platform/Log.h"
#include "shell/capture/PortalScreenshot.h"
#include "shell/capture/ScreenSelection.h"

namespace folvane {

bool DesktopScreenCapture::captureScreenshot(const std::filesystem::path& file) {
    std::optional<QImage> picture;
    if (QGuiApplication::platformName().startsWith(QStringLiteral("wayland"))) {
        PortalScreenshot portal;
        picture = portal.run();
    } else {
        picture = ScreenSelection().run();
    }
    if (!picture || picture->isNull()) return false;
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    // JPEG whatever the name says: the readers go by the content.
    if (!picture->save(QString::fromStdString(file.string()), "JPG", 90)) {
        // Nothing is attached; the button can be pressed again.
        log("Could not write the screenshot " + file.string());
        return false;
    }
    return std::filesystem::exists(file);
}

}  // namespace folvane
