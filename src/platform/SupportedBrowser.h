#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace folvane {

struct FrontmostWindow;

// A browser whose current tab can be read: Firefox from its saved session,
// a Chromium-family browser from its DevTools port.
struct SupportedBrowser {
    enum class Family { firefox, chromium };

    Family family = Family::firefox;
    // The name the user knows ("Firefox", "Google Chrome").
    std::string name;
    // Where its profiles may lie, the likeliest first. For Firefox these are
    // folders holding profiles.ini; for Chromium the user-data folders.
    std::vector<std::filesystem::path> profileRoots;

    // The browser of a window by its WM_CLASS, or none: every other program.
    static std::optional<SupportedBrowser> fromWindow(const FrontmostWindow& window,
                                                      const std::filesystem::path& home);
    // By a short name: "firefox", "chromium", "google-chrome", "brave-browser",
    // "microsoft-edge", "vivaldi" (also any WM_CLASS part those windows carry).
    static std::optional<SupportedBrowser> fromName(const std::string& name,
                                                    const std::filesystem::path& home);
};

}  // namespace folvane
