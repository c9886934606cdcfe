#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// The models of the Anthropic messages API, as they go on the wire.
namespace anthropic_models {
inline constexpr std::string_view claudeInstant12 = "claude-instant-1.2";
inline constexpr std::string_view claude2 = "claude-2.0";
inline constexpr std::string_view claude21 = "claude-2.1";
inline constexpr std::string_view claude3Opus = "claude-3-opus-20240229";
inline constexpr std::string_view claude3Sonnet = "claude-3-sonnet-20240229";
}  // namespace anthropic_models

struct AnthropicMessage {
    std::string role;  // "user" or "assistant"
    std::string content;

    bool operator==(const AnthropicMessage&) const = default;
};

// The body of a messages request. Keys go out in snake case; an absent field
// is left out.
struct AnthropicMessageParameter {
    std::string model;
    std::vector<AnthropicMessage> messages;
    int maxTokens = 1024;
    std::optional<std::string> system;
    std::optional<std::string> metadataUserId;
    std::optional<std::vector<std::string>> stopSequences;
    bool stream = false;
    std::optional<double> temperature;
    std::optional<int> topK;
    std::optional<double> topP;
};

nlohmann::json toJson(const AnthropicMessageParameter& parameter);

// The answer of a messages request.
struct AnthropicMessageResponse {
    struct Content {
        std::string type;
        std::string text;
    };
    struct Usage {
        int64_t inputTokens = 0;
        int64_t outputTokens = 0;
    };

    std::string id;
    std::string type;
    std::string model;
    std::string role;
    std::vector<Content> content;
    std::optional<std::string> stopReason;
    std::optional<std::string> stopSequence;
    Usage usage;

    // Throws DecodingError.
    static AnthropicMessageResponse decode(std::string_view text);
};

// The error body: {"type": "error", "error": {"type", "message"}}.
struct AnthropicErrorResponse {
    std::string type;
    std::string errorType;
    std::string message;

    // Nothing when the text is not an error body.
    static std::optional<AnthropicErrorResponse> tryDecode(std::string_view text);
};

}  // namespace folvane
