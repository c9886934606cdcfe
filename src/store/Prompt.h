#pragma once

#include <cstdint>
#include <string>

#include "store/Date.h"

namespace folvane {

// One entry of the prompt library. The icon and the last use are not stored.
struct Prompt {
    int64_t id = 0;
    std::string name;
    std::string icon = "💬";
    std::string prompt;
    bool enable = true;
    int sortOrder = 0;
    Date lastUsedAt = now();

    bool operator==(const Prompt&) const = default;
};

}  // namespace folvane
