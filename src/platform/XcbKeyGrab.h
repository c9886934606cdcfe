#pragma once

#include <xcb/xcb.h>

#include <cstdint>

namespace folvane {

// A key grabbed on the X server's root window for the whole desktop: the
// server then sends the key's presses and releases to this connection, with
// any other window in front. Held until release() or destruction.
class XcbKeyGrab {
  public:
    enum class Result { grabbed, taken, unavailable };

    // The modifier masks of the X protocol that a shortcut may hold.
    static constexpr uint16_t shift = XCB_MOD_MASK_SHIFT;
    static constexpr uint16_t control = XCB_MOD_MASK_CONTROL;
    static constexpr uint16_t alt = XCB_MOD_MASK_1;
    static constexpr uint16_t super = XCB_MOD_MASK_4;

    // On the first screen's root window of the connection, which the caller
    // keeps open for as long as this object lives.
    explicit XcbKeyGrab(xcb_connection_t* connection);
    ~XcbKeyGrab();
    XcbKeyGrab(const XcbKeyGrab&) = delete;
    XcbKeyGrab& operator=(const XcbKeyGrab&) = delete;

    // Grabs the key of this keysym with exactly these modifiers, also with
    // Caps Lock and Num Lock on, releasing the key held before. taken: another
    // client grabbed it already (the server refused with BadAccess); nothing
    // is held then. unavailable: the keyboard has no such key.
    Result grab(uint32_t keysym, uint16_t modifiers);
    void release();

    // Whether an event read from the connection is the grabbed chord pressed,
    // or the grabbed key let go (with or without its modifiers still held).
    bool isPress(const xcb_generic_event_t* event) const;
    bool isRelease(const xcb_generic_event_t* event) const;

  private:
    bool matches(const xcb_generic_event_t* event, uint8_t type) const;

    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_keycode_t keycode_ = 0;
    uint16_t modifiers_ = 0;
};

}  // namespace folvane
