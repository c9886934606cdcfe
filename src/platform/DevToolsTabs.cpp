#include "platform/DevToolsTabs.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "platform/HttpClient.h"

namespace folvane {

std::optional<int> DevToolsTabs::activePort(const std::filesystem::path& userDataFolder) {
    std::ifstream in(userDataFolder / "DevToolsActivePort");
    std::string line;
    if (!in || !std::getline(in, line)) return std::nullopt;
    int port = 0;
    size_t digits = 0;
    for (; digits < line.size() && line[digits] >= '0' && line[digits] <= '9'; ++digits) {
        port = port * 10 + (line[digits] - '0');
        if (port > 65535) return std::nullopt;
    }
    if (digits == 0 || port == 0) return std::nullopt;
    return port;
}

std::optional<std::string> DevToolsTabs::frontmostTabOfList(const std::string& listJson) {
    const auto list = nlohmann::json::parse(listJson, nullptr, false);
    if (!list.is_array()) throw std::runtime_error("The browser's tab list is not a JSON list.");
    for (const auto& target : list) {
        if (!target.is_object() || target.value("type", "") != "page") continue;
        std::string url = target.value("url", "");
        if (!url.empty()) return url;
    }
    return std::nullopt;
}

std::optional<std::string> DevToolsTabs::frontmostTab(HttpClient& http, int port,
                                                      std::stop_token stop) {
    HttpRequest request;
    request.url = "http://127.0.0.1:" + std::to_string(port) + "/json/list";
    request.timeoutSeconds = 10;
    std::string body;
    const auto head = http.perform(
        request,
        [&body](const HttpResponseHead&, std::string_view block) {
            body.append(block);
            return body.size() < 16u * 1024u * 1024u;
        },
        stop);
    if (head.status != 200) {
        throw std::runtime_error("The browser's DevTools port answered " +
                                 std::to_string(head.status) + ".");
    }
    return frontmostTabOfList(body);
}

}  // namespace folvane
