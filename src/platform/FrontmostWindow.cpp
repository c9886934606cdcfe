#include "platform/FrontmostWindow.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace folvane {

namespace {

using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
    const auto cookie = xcb_intern_atom(connection, 1, uint16_t(std::strlen(name)), name);
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : XCB_ATOM_NONE;
}

// The bytes of a window property, empty when it is missing.
std::string property(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name,
                     xcb_atom_t type) {
    if (name == XCB_ATOM_NONE) return {};
    const auto cookie = xcb_get_property(connection, 0, window, name, type, 0, 4096);
    std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(connection, cookie, nullptr), &std::free);
    if (!reply || reply->type == XCB_ATOM_NONE) return {};
    const int length = xcb_get_property_value_length(reply.get());
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return std::string(bytes, size_t(length));
}

bool isWaylandSession() {
    const char* type = std::getenv("XDG_SESSION_TYPE");
    if (type != nullptr && std::strcmp(type, "wayland") == 0) return true;
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    return wayland != nullptr && *wayland != '\0';
}

}  // namespace

std::optional<FrontmostWindow> FrontmostWindow::read(const std::string& display) {
    if (display.empty()) {
        if (isWaylandSession()) return std::nullopt;
        const char* named = std::getenv("DISPLAY");
        if (named == nullptr || *named == '\0') return std::nullopt;
    }
    int screenNumber = 0;
    Connection connection(xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber),
                          &xcb_disconnect);
    if (xcb_connection_has_error(connection.get())) return std::nullopt;
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) xcb_screen_next(&screens);
    if (screens.rem == 0) return std::nullopt;
    const xcb_window_t root = screens.data->root;

    const xcb_atom_t activeAtom = internAtom(connection.get(), "_NET_ACTIVE_WINDOW");
    const std::string active = property(connection.get(), root, activeAtom, XCB_ATOM_WINDOW);
    if (active.size() < sizeof(xcb_window_t)) return std::nullopt;
    xcb_window_t window = 0;
    std::memcpy(&window, active.data(), sizeof window);
    if (window == XCB_WINDOW_NONE) return std::nullopt;

    FrontmostWindow result;
    // WM_CLASS holds two strings, each ended by a NUL.
    const std::string wmClass =
        property(connection.get(), window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
    const size_t end = wmClass.find('\0');
    result.instanceName = wmClass.substr(0, end);
    if (end != std::string::npos) {
        std::string second = wmClass.substr(end + 1);
        if (const size_t nul = second.find('\0'); nul != std::string::npos) second.resize(nul);
        result.className = second;
    }
    const xcb_atom_t utf8 = internAtom(connection.get(), "UTF8_STRING");
    result.title =
        property(connection.get(), window, internAtom(connection.get(), "_NET_WM_NAME"), utf8);
    if (result.title.empty()) {
        result.title =
            property(connection.get(), window, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY);
    }
    return result;
}

}  // namespace folvane
