#pragma once

#include <nlohmann/json.hpp>
#include <stop_token>
#include <string>
#include <string_view>

namespace folvane {

class HttpClient;

// The model list that OpenRouter publishes, as kept in the settings: an array
// of {id, name, pricing {prompt, completion}, context_length}.
class OpenRouterCatalogue {
  public:
    // The API's base, whose models list is at "/v1/models".
    static constexpr std::string_view defaultBase = "https://openrouter.ai/api";

    // Reads the list (no key is sent). Throws HttpTransportError, or
    // std::runtime_error for an answer that is not a list of models.
    static nlohmann::json fetch(HttpClient& http, std::string_view base = defaultBase,
                                std::stop_token stop = {});

    // A prompt or completion price sent as a JSON number keeps its text.
    static nlohmann::json decode(std::string_view body);
};

}  // namespace folvane
