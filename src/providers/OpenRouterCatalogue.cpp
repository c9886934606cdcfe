#include "providers/OpenRouterCatalogue.h"

#include <stdexcept>

#include "platform/HttpClient.h"

namespace folvane {

namespace {

std::string priceText(const nlohmann::json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number()) return value.dump();
    throw std::runtime_error("The OpenRouter model list has a price that is not a number.");
}

}  // namespace

nlohmann::json OpenRouterCatalogue::fetch(HttpClient& http, std::string_view base,
                                          std::stop_token stop) {
    HttpRequest request;
    request.url = std::string(base) + "/v1/models";
    request.headers.push_back({"Content-Type", "application/json"});
    request.timeoutSeconds = 15.0;
    std::string body;
    const HttpResponseHead head = http.perform(
        request,
        [&body](const HttpResponseHead&, std::string_view block) {
            body.append(block);
            return true;
        },
        stop);
    if (head.status < 200 || head.status >= 300) {
        throw std::runtime_error("The OpenRouter model list answered with the status " +
                                 std::to_string(head.status) + ".");
    }
    return decode(body);
}

nlohmann::json OpenRouterCatalogue::decode(std::string_view body) {
    const auto answer = nlohmann::json::parse(body, nullptr, false);
    if (!answer.is_object() || !answer.contains("data") || !answer["data"].is_array()) {
        throw std::runtime_error("The OpenRouter model list could not be read.");
    }
    auto models = nlohmann::json::array();
    try {
        for (const auto& entry : answer["data"]) {
            const auto& pricing = entry.at("pricing");
            models.push_back({{"id", entry.at("id").get<std::string>()},
                              {"name", entry.at("name").get<std::string>()},
                              {"pricing",
                               {{"prompt", priceText(pricing.at("prompt"))},
                                {"completion", priceText(pricing.at("completion"))}}},
                              {"context_length", entry.at("context_length").get<int>()}});
        }
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error("The OpenRouter model list could not be read.");
    }
    return models;
}

}  // namespace folvane
