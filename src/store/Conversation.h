#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/Date.h"

namespace folvane {

// One chat.
struct Conversation {
    int64_t id = 0;
    std::string title;
    int64_t bookmarkId = 0;
    std::vector<int64_t> extraBookmarkIds;
    std::string model = "gpt-3.5-turbo";
    double temperature = 0.7;
    std::string languageCode;
    bool useWebSearch = false;
    bool isDemo = false;
    std::optional<std::string> latestMessage;
    std::optional<int> messageCount;
    std::optional<std::string> suggestedQuestion1;
    std::optional<std::string> suggestedQuestion2;
    std::optional<std::string> suggestedQuestion3;
    double cost = 0;
    int64_t customModelId = 0;
    int contextLimit = 0;
    double presencePenalty = 0;
    double frequencyPenalty = 0;
    Date contextSince = distantPast();
    Date createdAt = now();
    Date updatedAt = now();

    // The main document followed by the extra ones.
    std::vector<int64_t> allBookmarkIds() const;

    bool operator==(const Conversation&) const = default;
};

}  // namespace folvane
