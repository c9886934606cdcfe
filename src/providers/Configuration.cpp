#include "providers/Configuration.h"

#include "providers/URLText.h"

namespace folvane {

Configuration Configuration::forHost(std::string token,
                                     std::optional<std::string> organizationIdentifier,
                                     const std::string& host, double timeoutInterval) {
    Configuration configuration;
    configuration.token = std::move(token);
    configuration.organizationIdentifier = std::move(organizationIdentifier);
    std::string url = "https://" + host;
    configuration.baseURL = isValidURL(url) ? url : std::string("https://") + openAIHost;
    configuration.timeoutInterval = timeoutInterval;
    return configuration;
}

}  // namespace folvane
