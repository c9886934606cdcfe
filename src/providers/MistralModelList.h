#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

class HttpClient;

struct MistralModel {
    std::string id;
    int64_t created = 0;

    bool operator==(const MistralModel&) const = default;
};

// The model list of the Mistral API, behind "Refresh" in the Mistral form.
class MistralModelList {
  public:
    static constexpr std::string_view defaultBase = "https://api.mistral.ai";

    // GET {base}/v1/models with the key as bearer token, 15 seconds. Throws
    // HttpTransportError, APIErrorResponse for an error body,
    // ProviderResponseError for another failed status, DecodingError for a
    // body that is not a list.
    static std::vector<MistralModel> fetch(HttpClient& http, std::string_view base,
                                           const std::string& apiKey, std::stop_token stop = {});

    // {"data": [{"id", "created"}...]}; throws DecodingError.
    static std::vector<MistralModel> decode(std::string_view body);
    // The list as the setting mistralModels keeps it.
    static nlohmann::json toJson(const std::vector<MistralModel>& models);
    // The stored setting back; entries that do not read are skipped.
    static std::vector<MistralModel> fromSetting(const nlohmann::json& setting);
};

}  // namespace folvane
