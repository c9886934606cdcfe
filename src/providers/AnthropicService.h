#pragma once

#include <memory>
#include <stop_token>
#include <string>

#include "providers/AnthropicMessages.h"

namespace folvane {

class HttpClient;

// The Anthropic messages API, as far as the key check of the Anthropic form
// needs it: one request, never streamed. Runs on the caller's thread and
// throws AnthropicAPIError (or HttpTransportError for the transfer itself).
class AnthropicService {
  public:
    static constexpr const char* defaultEndpoint = "https://api.anthropic.com";
    static constexpr const char* defaultAPIVersion = "2023-06-01";
    static constexpr const char* betaHeader = "messages-2023-12-15";
    static constexpr double timeoutSeconds = 60.0;

    AnthropicService(std::shared_ptr<HttpClient> http, std::string apiKey,
                     std::string endpoint = defaultEndpoint,
                     std::string apiVersion = defaultAPIVersion);

    // Sends the parameter with `stream` set to false.
    AnthropicMessageResponse createMessage(AnthropicMessageParameter parameter,
                                           std::stop_token stop = {}) const;

  private:
    std::shared_ptr<HttpClient> http_;
    std::string apiKey_;
    std::string endpoint_;
    std::string apiVersion_;
};

}  // namespace folvane
