#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// Firefox's saved session: which tab each window shows. Firefox writes it
// every few seconds to sessionstore-backups/recovery.jsonlz4 in the profile,
// as "mozLz40\0", the size of the text (little-endian, 32 bits) and one LZ4
// block of JSON.
class FirefoxSession {
  public:
    // The profile folders under a root holding profiles.ini, the default
    // profile first (the one an [Install…] section names, else Default=1).
    static std::vector<std::filesystem::path> profiles(const std::filesystem::path& root);

    // The JSON text of a mozLz4 file's bytes. Throws std::runtime_error for
    // another format or a damaged block.
    static std::string decode(std::string_view bytes);

    // The URL of the current tab of the window whose title the browser window
    // shows (window titles are the tab's title and the browser's name); with
    // no title or no window of that title, of the session's selected window.
    // None when the session has no window.
    static std::optional<std::string> currentTab(const std::string& sessionJson,
                                                 const std::string& windowTitle);

    // The same from a profile folder; none when it holds no session file.
    // Throws std::runtime_error for a file that cannot be read.
    static std::optional<std::string> currentTabOfProfile(const std::filesystem::path& profile,
                                                          const std::string& windowTitle);
};

}  // namespace folvane
