#include "providers/AnthropicMessages.h"

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

nlohmann::json toJson(const AnthropicMessageParameter& parameter) {
    nlohmann::json body;
    body["model"] = parameter.model;
    auto messages = nlohmann::json::array();
    for (const auto& message : parameter.messages) {
        messages.push_back({{"role", message.role}, {"content", message.content}});
    }
    body["messages"] = std::move(messages);
    body["max_tokens"] = parameter.maxTokens;
    if (parameter.system) body["system"] = *parameter.system;
    if (parameter.metadataUserId) body["metadata"] = {{"user_id", *parameter.metadataUserId}};
    if (parameter.stopSequences) body["stop_sequences"] = *parameter.stopSequences;
    body["stream"] = parameter.stream;
    if (parameter.temperature) body["temperature"] = *parameter.temperature;
    if (parameter.topK) body["top_k"] = *parameter.topK;
    if (parameter.topP) body["top_p"] = *parameter.topP;
    return body;
}

AnthropicMessageResponse AnthropicMessageResponse::decode(std::string_view text) {
    const nlohmann::json value = rd::parse(text);
    rd::object(value, "MessageResponse");
    AnthropicMessageResponse response;
    response.id = rd::string(rd::required(value, "id"), "id");
    response.type = rd::string(rd::required(value, "type"), "type");
    response.model = rd::string(rd::required(value, "model"), "model");
    response.role = rd::string(rd::required(value, "role"), "role");
    for (const auto& entry : rd::array(rd::required(value, "content"), "content")) {
        rd::object(entry, "content");
        response.content.push_back({rd::string(rd::required(entry, "type"), "type"),
                                    rd::string(rd::required(entry, "text"), "text")});
    }
    response.stopReason = rd::optionalString(value, "stop_reason");
    response.stopSequence = rd::optionalString(value, "stop_sequence");
    const auto& usage = rd::object(rd::required(value, "usage"), "usage");
    response.usage.inputTokens = rd::integer(rd::required(usage, "input_tokens"), "input_tokens");
    response.usage.outputTokens =
        rd::integer(rd::required(usage, "output_tokens"), "output_tokens");
    return response;
}

std::optional<AnthropicErrorResponse> AnthropicErrorResponse::tryDecode(std::string_view text) {
    try {
        const nlohmann::json value = rd::parse(text);
        rd::object(value, "ErrorResponse");
        const auto& error = rd::object(rd::required(value, "error"), "error");
        return AnthropicErrorResponse{rd::string(rd::required(value, "type"), "type"),
                                      rd::string(rd::required(error, "type"), "type"),
                                      rd::string(rd::required(error, "message"), "message")};
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

}  // namespace folvane
