#pragma once

#include <optional>
#include <string>

namespace folvane {

// The window that has the keyboard focus on an X11 desktop, as the window
// manager names it: the two parts of its WM_CLASS and its title.
struct FrontmostWindow {
    // WM_CLASS's first part ("Navigator", "chromium") and second ("firefox",
    // "Chromium").
    std::string instanceName;
    std::string className;
    // _NET_WM_NAME (UTF-8), else WM_NAME.
    std::string title;

    // Asks the X server named by display (empty: $DISPLAY) for the window of
    // _NET_ACTIVE_WINDOW on the first screen. None on a Wayland session (its
    // windows are not the X server's to tell), without a display, or when no
    // window is active. A handful of round trips to a local server: fast
    // enough to call from a key handler, before the application raises itself.
    static std::optional<FrontmostWindow> read(const std::string& display = "");
};

}  // namespace folvane
