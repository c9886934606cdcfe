#include "providers/GenerativeModel.h"

#include <nlohmann/json.hpp>

#include "platform/HttpClient.h"
#include "platform/Log.h"
#include "providers/DecodingError.h"
#include "providers/GenerateContentError.h"
#include "providers/ProviderResponseError.h"
#include "providers/RPCError.h"

namespace folvane {

GenerativeModel::GenerativeModel(std::shared_ptr<HttpClient> http, const std::string& name,
                                 std::string apiKey, GenerativeRequestOptions requestOptions,
                                 std::string endpoint)
    : http_(std::move(http)),
      modelResourceName_(name.find('/') != std::string::npos ? name : "models/" + name),
      apiKey_(std::move(apiKey)),
      requestOptions_(std::move(requestOptions)),
      endpoint_(std::move(endpoint)) {}

GenerateContentResponse GenerativeModel::generateContent(const std::string& text,
                                                         std::stop_token stop) const {
    try {
        return send(text, stop);
    } catch (const GenerateContentError&) {
        throw;
    } catch (const RPCError& error) {
        if (error.isInvalidAPIKey()) throw GenerateContentError::invalidAPIKey();
        if (error.isUnsupportedUserLocation()) {
            throw GenerateContentError::unsupportedUserLocation();
        }
        throw GenerateContentError::internalError(error.what());
    } catch (const std::exception& error) {
        throw GenerateContentError::internalError(error.what());
    }
}

GenerateContentResponse GenerativeModel::send(const std::string& text, std::stop_token stop) const {
    HttpRequest request;
    request.method = "POST";
    std::string base = endpoint_;
    if (base.empty() || base.back() != '/') base += '/';
    request.url = base + requestOptions_.apiVersion + "/" + modelResourceName_ + ":generateContent";
    request.timeoutSeconds = requestOptions_.timeout.value_or(defaultTimeout);
    request.headers = {{"x-goog-api-key", apiKey_},
                       {"x-goog-api-client", clientTag},
                       {"Content-Type", "application/json"}};
    const nlohmann::json body = {{"contents", {{{"role", "user"}, {"parts", {{{"text", text}}}}}}}};
    request.body = body.dump();

    std::string answer;
    const HttpResponseHead head = http_->perform(
        request,
        [&answer](const HttpResponseHead&, std::string_view block) {
            answer.append(block);
            return true;
        },
        stop);
    if (head.status <= 0) throw std::runtime_error("Response was not an HTTP response.");
    if (head.status != 200) {
        std::optional<RPCError> decoded;
        try {
            decoded = RPCError::decode(answer, head.status);
        } catch (const DecodingError&) {
            throw ProviderResponseError::forStatus(head.status);
        }
        RPCError error = std::move(*decoded);
        log("[GoogleGenerativeAI] The server responded with an error: " +
            std::string(error.what()));
        throw error;
    }

    GenerateContentResponse response;
    try {
        response = GenerateContentResponse::decode(answer);
    } catch (const DecodingError& error) {
        log("[GoogleGenerativeAI] Error decoding server JSON: " + error.detail());
        throw;
    }
    if (response.promptFeedback && response.promptFeedback->blockReason) {
        throw GenerateContentError::promptBlocked(std::move(response));
    }
    if (!response.candidates.empty()) {
        const auto reason = response.candidates.front().finishReason;
        if (reason && *reason != FinishReason::stop) {
            throw GenerateContentError::responseStoppedEarly(*reason, std::move(response));
        }
    }
    return response;
}

}  // namespace folvane
