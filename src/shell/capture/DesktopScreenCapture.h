#pragma once

#include "platform/ScreenCapture.h"

namespace folvane {

// The desktop's screenshot tool: the portal on Wayland, our own selection
// overlay on X11. Writes the picture as JPEG.
class DesktopScreenCapture final : public ScreenCapture {
  public:
    bool captureScreenshot(const std::filesystem::path& file) override;
};

}  // namespace folvane
