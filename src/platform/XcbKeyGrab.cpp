#include "platform/XcbKeyGrab.h"

#include <xcb/xcb_keysyms.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace folvane {

namespace {

constexpr uint8_t badAccess = 10;
// Caps Lock and Num Lock (Mod2 on every usual keymap) change the state that a
// key event carries, so each shortcut is grabbed under all four combinations.
constexpr uint16_t lockMasks = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
constexpr std::array<uint16_t, 4> lockVariants = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                                  XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
constexpr uint16_t shortcutMasks =
    XcbKeyGrab::shift | XcbKeyGrab::control | XcbKeyGrab::alt | XcbKeyGrab::super;

}  // namespace

XcbKeyGrab::XcbKeyGrab(xcb_connection_t* connection) : connection_(connection) {
    if (connection_ == nullptr) return;
    const xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    if (screens.rem > 0) root_ = screens.data->root;
}

XcbKeyGrab::~XcbKeyGrab() {
    release();
}

XcbKeyGrab::Result XcbKeyGrab::grab(uint32_t keysym, uint16_t modifiers) {
    release();
    if (connection_ == nullptr || root_ == XCB_WINDOW_NONE) return Result::unavailable;
    std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> symbols(
        xcb_key_symbols_alloc(connection_), &xcb_key_symbols_free);
    if (!symbols) return Result::unavailable;
    std::unique_ptr<xcb_keycode_t, decltype(&std::free)> codes(
        xcb_key_symbols_get_keycode(symbols.get(), keysym), &std::free);
    if (!codes || codes.get()[0] == XCB_NO_SYMBOL) return Result::unavailable;
    const xcb_keycode_t keycode = codes.get()[0];

    bool taken = false;
    std::array<xcb_void_cookie_t, lockVariants.size()> cookies{};
    for (size_t i = 0; i < lockVariants.size(); ++i) {
        cookies[i] = xcb_grab_key_checked(connection_, 1, root_, modifiers | lockVariants[i],
                                          keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    }
    bool failed = false;
    for (const auto cookie : cookies) {
        if (xcb_generic_error_t* error = xcb_request_check(connection_, cookie)) {
            taken = taken || error->error_code == badAccess;
            failed = true;
            std::free(error);
        }
    }
    keycode_ = keycode;
    modifiers_ = modifiers;
    if (failed) {
        // Some variants may have been granted; none is kept.
        release();
        return taken ? Result::taken : Result::unavailable;
    }
    return Result::grabbed;
}

void XcbKeyGrab::release() {
    if (keycode_ == 0 || connection_ == nullptr) return;
    for (const uint16_t variant : lockVariants) {
        xcb_ungrab_key(connection_, keycode_, root_, modifiers_ | variant);
    }
    xcb_flush(connection_);
    keycode_ = 0;
}

bool XcbKeyGrab::matches(const xcb_generic_event_t* event, uint8_t type) const {
    if (keycode_ == 0 || event == nullptr || (event->response_type & 0x7f) != type) return false;
    // Press and release events share one layout.
    const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
    return key->detail == keycode_ && (key->state & shortcutMasks & ~lockMasks) == modifiers_;
}

bool XcbKeyGrab::isRelease(const xcb_generic_event_t* event) const {
    // The modifiers are often let go before the key: the release of the key
    // after a press of the chord counts, whatever is still held.
    if (keycode_ == 0 || event == nullptr || (event->response_type & 0x7f) != XCB_KEY_RELEASE)
        return false;
    return reinterpret_cast<const xcb_key_release_event_t*>(event)->detail == keycode_;
}

bool XcbKeyGrab::isPress(const xcb_generic_event_t* event) const {
    return matches(event, XCB_KEY_PRESS);
}

}  // namespace folvane
