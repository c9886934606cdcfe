#pragma once

#include <map>
#include <optional>
#include <string>

#include "providers/APIPathConfiguration.h"

namespace folvane {

// Where and how a client reaches its server. Every value is data, so one client
// type serves every OpenAI-compatible provider.
struct Configuration {
    static constexpr const char* openAIHost = "api.openai.com";
    static constexpr double defaultTimeout = 60.0;

    std::string token;
    std::optional<std::string> organizationIdentifier;
    // Set after the standard headers, so an entry replaces one of the same name.
    std::map<std::string, std::string> customHeaders;
    std::string baseURL;
    double timeoutInterval = defaultTimeout;
    APIPathConfiguration apiPath;

    // "https://" and the host (which may carry a port), or the OpenAI public
    // endpoint when that does not parse as a URL; a host that names its scheme
    // ("https://", or "http://" on the loopback) as it stands. No custom
    // headers, default paths.
    static Configuration forHost(std::string token,
                                 std::optional<std::string> organizationIdentifier,
                                 const std::string& host, double timeoutInterval);

    bool operator==(const Configuration&) const = default;
};

}  // namespace folvane
