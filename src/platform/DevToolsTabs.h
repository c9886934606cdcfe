#pragma once

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace folvane {

class HttpClient;

// The tabs of a Chromium-family browser started with --remote-debugging-port,
// from its DevTools HTTP end point on the loopback address. The browser names
// the port in the first line of DevToolsActivePort in its user-data folder.
class DevToolsTabs {
  public:
    // The port the running browser listens on; none when the file is missing
    // or does not start with a port number.
    static std::optional<int> activePort(const std::filesystem::path& userDataFolder);

    // The first "page" target of the JSON list (the browser lists the tab it
    // showed last first). None when the list holds no page. Throws
    // HttpTransportError when the port does not answer, std::runtime_error for
    // an answer that is not the list.
    static std::optional<std::string> frontmostTab(HttpClient& http, int port,
                                                   std::stop_token stop = {});
    // Parses the body of /json/list.
    static std::optional<std::string> frontmostTabOfList(const std::string& listJson);
};

}  // namespace folvane
