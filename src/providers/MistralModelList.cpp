#include "providers/MistralModelList.h"

#include "platform/HttpClient.h"
#include "providers/APIErrorResponse.h"
#include "providers/DecodingError.h"
#include "providers/ProviderResponseError.h"
#include "providers/URLText.h"

namespace folvane {

namespace rd = json_read;

std::vector<MistralModel> MistralModelList::fetch(HttpClient& http, std::string_view base,
                                                  const std::string& apiKey, std::stop_token stop) {
    HttpRequest request;
    request.url = std::string(base) + "/v1/models";
    request.headers = {{"Content-Type", "application/json"}, {"Authorization", "Bearer " + apiKey}};
    request.timeoutSeconds = 15.0;
    if (!isValidURL(request.url)) {
        throw HttpTransportError(HttpTransportError::Kind::badURL, "unsupported URL");
    }
    std::string body;
    const HttpResponseHead head = http.perform(
        request,
        [&body](const HttpResponseHead&, std::string_view block) {
            body.append(block);
            return true;
        },
        stop);
    if (head.status < 200 || head.status > 299) {
        if (auto error = APIErrorResponse::tryDecode(body)) throw *error;
        throw ProviderResponseError::forStatus(head.status);
    }
    return decode(body);
}

std::vector<MistralModel> MistralModelList::decode(std::string_view body) {
    const nlohmann::json value = rd::parse(body);
    rd::object(value, "MistralModelListResponse");
    std::vector<MistralModel> models;
    for (const auto& entry : rd::array(rd::required(value, "data"), "data")) {
        rd::object(entry, "data");
        models.push_back({rd::string(rd::required(entry, "id"), "id"),
                          rd::integer(rd::required(entry, "created"), "created")});
    }
    return models;
}

nlohmann::json MistralModelList::toJson(const std::vector<MistralModel>& models) {
    auto list = nlohmann::json::array();
    for (const auto& model : models) list.push_back({{"id", model.id}, {"created", model.created}});
    return list;
}

std::vector<MistralModel> MistralModelList::fromSetting(const nlohmann::json& setting) {
    std::vector<MistralModel> models;
    if (!setting.is_array()) return models;
    for (const auto& entry : setting) {
        if (!entry.is_object() || !entry.contains("id") || !entry["id"].is_string()) continue;
        const auto created = entry.value("created", nlohmann::json());
        models.push_back({entry["id"].get<std::string>(),
                          created.is_number_integer() ? created.get<int64_t>() : 0});
    }
    return models;
}

}  // namespace folvane
