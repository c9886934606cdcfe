#pragma once

#include <QImage>
#include <optional>

namespace folvane {

// The X11 screenshot tool: freezes every screen, covers each with a
// SelectionOverlay and waits, in a local event loop, until the user takes an
// area or cancels. The caller's code stops here meanwhile; the event loop,
// and with it the rest of the window, goes on.
class ScreenSelection {
  public:
    // The picture the user took, nothing when cancelled or when there is no
    // screen to take.
    std::optional<QImage> run();
};

}  // namespace folvane
