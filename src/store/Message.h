#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "store/Date.h"
#include "store/Reference.h"

namespace folvane {

// One chat message. A marker row has role "application", empty content and a name.
struct Message {
    // The reply under construction carries this id; no row ever has it.
    static constexpr int64_t liveMessageId = std::numeric_limits<int64_t>::max();

    int64_t id = 0;
    int64_t conversationId = 0;
    std::string role;
    std::string content;
    std::string model = "gpt-3.5-turbo";
    std::optional<std::string> name;
    std::optional<std::string> functionName;
    std::optional<std::string> functionArguments;
    std::optional<std::vector<Reference>> references;
    std::optional<std::string> contextMode;
    std::optional<std::string> stringContext;
    std::optional<int64_t> documentContext;
    std::vector<std::string> imageURLs;
    std::optional<std::string> speechFileURL;
    Date createdAt = now();
    Date updatedAt = now();

    bool operator==(const Message&) const = default;
};

// The coding keys of a whole message, in their order, as exports and copies
// write it.
nlohmann::ordered_json toJson(const Message& message);
nlohmann::ordered_json toJson(const Reference& reference);
Reference referenceFromJson(const nlohmann::json& object);

}  // namespace folvane
