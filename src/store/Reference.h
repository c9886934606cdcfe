#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace folvane {

// One cited chunk of an assistant message.
struct Reference {
    std::string id;  // the index item's id
    int64_t bookmarkId = 0;
    std::optional<int> page;
    std::optional<float> score;

    bool operator==(const Reference&) const = default;
};

}  // namespace folvane
