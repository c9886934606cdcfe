#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "providers/Chat.h"

namespace folvane {

// The body of a chat completion. Optional fields are left out of the JSON when
// absent; `model`, `messages` and `stream` are always written.
struct ChatQuery {
    std::string model;
    std::vector<Chat> messages;
    // Function declarations and the function-call choice, as raw JSON.
    std::optional<nlohmann::json> functions;
    std::optional<nlohmann::json> functionCall;
    std::optional<double> temperature;
    std::optional<double> topP;
    std::optional<int> n;
    std::optional<std::vector<std::string>> stop;
    std::optional<int> maxTokens;
    std::optional<double> presencePenalty;
    std::optional<double> frequencyPenalty;
    std::optional<std::map<std::string, int>> logitBias;
    std::optional<std::string> user;
    bool stream = false;

    bool operator==(const ChatQuery&) const = default;
};

nlohmann::json toJson(const ChatQuery& query);

}  // namespace folvane
