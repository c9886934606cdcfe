#include "providers/Configuration.h"

#include <string_view>

#include "providers/URLText.h"

namespace folvane {
namespace {

bool isLoopbackHTTP(std::string_view host) {
    constexpr std::string_view scheme = "http://";
    if (!host.starts_with(scheme)) return false;
    host.remove_prefix(scheme.size());
    for (const std::string_view name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (host.starts_with(name)) {
            const std::string_view rest = host.substr(name.size());
            if (rest.empty() || rest.front() == ':' || rest.front() == '/') return true;
        }
    }
    return false;
}

}  // namespace

Configuration Configuration::forHost(std::string token,
                                     std::optional<std::string> organizationIdentifier,
                                     const std::string& host, double timeoutInterval) {
    Configuration configuration;
    configuration.token = std::move(token);
    configuration.organizationIdentifier = std::move(organizationIdentifier);
    std::string url = "https://" + host;
    // A host written with its scheme is taken as written: "https://" always,
    // plain "http://" only on this machine's loopback, where a local server
    // (and a test's) listens, so that a key never crosses a network in clear.
    if (host.starts_with("https://") || isLoopbackHTTP(host))
        url = host;
    else if (host.starts_with("http://"))
        url.clear();
    configuration.baseURL = isValidURL(url) ? url : std::string("https://") + openAIHost;
    configuration.timeoutInterval = timeoutInterval;
    return configuration;
}

}  // namespace folvane
