#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/Chat.h"

namespace folvane {

// One event of a streamed chat completion. `id`, `object`, `created` and
// `model` are optional so that servers which leave them out still parse.
struct ChatStreamResult {
    struct Delta {
        std::optional<std::string> content;
        std::optional<ChatRole> role;
        std::optional<std::string> name;
        std::optional<ChatFunctionCall> functionCall;

        bool operator==(const Delta&) const = default;
    };
    struct Choice {
        std::optional<int64_t> index;
        Delta delta;
        std::optional<std::string> finishReason;

        bool operator==(const Choice&) const = default;
    };

    std::optional<std::string> id;
    std::optional<std::string> object;
    std::optional<double> created;
    std::optional<std::string> model;
    std::vector<Choice> choices;

    // Throws DecodingError.
    static ChatStreamResult decode(std::string_view text);
    static ChatStreamResult fromJson(const nlohmann::json& value);

    bool operator==(const ChatStreamResult&) const = default;
};

}  // namespace folvane
