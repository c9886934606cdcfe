#include "providers/AnthropicService.h"

#include "platform/HttpClient.h"
#include "providers/AnthropicAPIError.h"
#include "providers/DecodingError.h"

namespace folvane {

namespace {

using Case = AnthropicAPIError::Case;

// The key that a "not found" detail names: the text between its first quotes.
std::string missingKey(const std::string& detail) {
    const size_t open = detail.find('\'');
    const size_t close = open == std::string::npos ? open : detail.find('\'', open + 1);
    if (close == std::string::npos) return "";
    return detail.substr(open + 1, close - open - 1);
}

AnthropicMessageResponse decodeResponse(const std::string& body) {
    try {
        return AnthropicMessageResponse::decode(body);
    } catch (const DecodingError& error) {
        if (error.kind() == DecodingError::Kind::keyNotFound) {
            const std::string key = missingKey(error.detail());
            throw AnthropicAPIError(
                Case::dataCouldNotBeReadMissingData,
                "Key '" + key + "' not found: " + error.detail() + ". codingPath: " + key);
        }
        throw AnthropicAPIError(Case::jsonDecodingFailure, error.what());
    }
}

}  // namespace

AnthropicService::AnthropicService(std::shared_ptr<HttpClient> http, std::string apiKey,
                                   std::string endpoint, std::string apiVersion)
    : http_(std::move(http)),
      apiKey_(std::move(apiKey)),
      endpoint_(std::move(endpoint)),
      apiVersion_(std::move(apiVersion)) {}

AnthropicMessageResponse AnthropicService::createMessage(AnthropicMessageParameter parameter,
                                                         std::stop_token stop) const {
    parameter.stream = false;
    HttpRequest request;
    request.method = "POST";
    request.url = endpoint_ + "/v1/messages";
    request.timeoutSeconds = timeoutSeconds;
    request.headers = {{"Content-Type", "application/json"},
                       {"x-api-key", apiKey_},
                       {"anthropic-version", apiVersion_},
                       {"anthropic-beta", betaHeader}};
    request.body = toJson(parameter).dump();

    std::string body;
    const HttpResponseHead head = http_->perform(
        request,
        [&body](const HttpResponseHead&, std::string_view block) {
            body.append(block);
            return true;
        },
        stop);
    if (head.status <= 0) {
        throw AnthropicAPIError(Case::responseUnsuccessful,
                                "invalid response unable to get a valid HTTPURLResponse");
    }
    if (head.status != 200) {
        std::string description = "status code " + std::to_string(head.status);
        if (const auto error = AnthropicErrorResponse::tryDecode(body)) {
            description += ": " + error->message;
        }
        throw AnthropicAPIError(Case::responseUnsuccessful, description);
    }
    return decodeResponse(body);
}

}  // namespace folvane
