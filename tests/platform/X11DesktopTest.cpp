#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstring>

#include "platform/FrontmostWindow.h"
#include "platform/XcbKeyGrab.h"

namespace folvane {
namespace {

// A private X server (Xvfb) for one test, on a display number it picks itself.
class X11DesktopTest : public ::testing::Test {
  protected:
    void SetUp() override {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        server_ = fork();
        if (server_ == 0) {
            close(fds[0]);
            const std::string fd = std::to_string(fds[1]);
            execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-screen", "0",
                   "640x480x24", static_cast<char*>(nullptr));
            _exit(127);
        }
        close(fds[1]);
        std::string number;
        char c = 0;
        while (read(fds[0], &c, 1) == 1 && c != '\n') number.push_back(c);
        close(fds[0]);
        if (number.empty()) GTEST_SKIP() << "Xvfb did not start";
        display_ = ":" + number;
    }

    void TearDown() override {
        if (server_ > 0) {
            kill(server_, SIGTERM);
            waitpid(server_, nullptr, 0);
        }
    }

    xcb_connection_t* connect() {
        xcb_connection_t* connection = xcb_connect(display_.c_str(), nullptr);
        connections_.emplace_back(connection, &xcb_disconnect);
        return connection;
    }

    xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
        auto* reply = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, uint16_t(strlen(name)), name), nullptr);
        const xcb_atom_t atom = reply->atom;
        free(reply);
        return atom;
    }

    void setProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name,
                     xcb_atom_t type, uint8_t format, const void* data, uint32_t length) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, name, type, format, length,
                            data);
    }

    pid_t server_ = -1;
    std::string display_;
    std::vector<std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>> connections_;
};

TEST_F(X11DesktopTest, aKeyGrabbedByAnotherClientIsTaken) {
    XcbKeyGrab first(connect());
    XcbKeyGrab second(connect());
    const uint32_t keysymP = 'p';
    const uint16_t modifiers = XcbKeyGrab::control | XcbKeyGrab::alt;
    EXPECT_EQ(first.grab(keysymP, modifiers), XcbKeyGrab::Result::grabbed);
    EXPECT_EQ(second.grab(keysymP, modifiers), XcbKeyGrab::Result::taken);
    // Another chord of the same key is free.
    EXPECT_EQ(second.grab(keysymP, modifiers | XcbKeyGrab::shift), XcbKeyGrab::Result::grabbed);
    first.release();
    EXPECT_EQ(second.grab(keysymP, modifiers), XcbKeyGrab::Result::grabbed);
    // A keysym that no key of the keyboard carries.
    EXPECT_EQ(first.grab(0x10fffff, modifiers), XcbKeyGrab::Result::unavailable);
}

TEST_F(X11DesktopTest, frontmostWindowIsTheActiveWindowWithItsClassAndTitle) {
    xcb_connection_t* connection = connect();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    EXPECT_EQ(FrontmostWindow::read(display_),
              std::nullopt);  // no window manager, no active window

    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    const char wmClass[] = "Navigator\0firefox";
    setProperty(connection, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, wmClass, sizeof wmClass);
    const std::string title = "paper.pdf — Mozilla Firefox";
    setProperty(connection, window, atom(connection, "_NET_WM_NAME"),
                atom(connection, "UTF8_STRING"), 8, title.data(), uint32_t(title.size()));
    // What a window manager does when the window gets the focus.
    setProperty(connection, screen->root, atom(connection, "_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW,
                32, &window, 1);
    xcb_flush(connection);
    // A round trip: the server has applied the changes.
    free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));

    const auto found = FrontmostWindow::read(display_);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->instanceName, "Navigator");
    EXPECT_EQ(found->className, "firefox");
    EXPECT_EQ(found->title, title);
}

}  // namespace
}  // namespace folvane
