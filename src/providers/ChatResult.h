#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/Chat.h"

namespace folvane {

// The answer of a chat completion that was not streamed.
struct ChatResult {
    struct Choice {
        std::optional<int64_t> index;
        Chat message;
        std::optional<std::string> finishReason;

        bool operator==(const Choice&) const = default;
    };
    struct Usage {
        int64_t promptTokens = 0;
        int64_t completionTokens = 0;
        int64_t totalTokens = 0;

        bool operator==(const Usage&) const = default;
    };

    std::optional<std::string> id;
    std::optional<std::string> object;
    std::optional<double> created;
    std::optional<std::string> model;
    std::vector<Choice> choices;
    std::optional<Usage> usage;

    // Throws DecodingError.
    static ChatResult decode(std::string_view text);
    static ChatResult fromJson(const nlohmann::json& value);

    bool operator==(const ChatResult&) const = default;
};

}  // namespace folvane
