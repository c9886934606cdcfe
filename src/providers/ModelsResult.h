#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

struct ModelResult {
    std::string id;
    int64_t created = 0;
    std::string object;
    std::string ownedBy;

    bool operator==(const ModelResult&) const = default;
};

struct ModelsResult {
    std::vector<ModelResult> data;
    std::string object;

    // Throws DecodingError.
    static ModelsResult decode(std::string_view text);

    bool operator==(const ModelsResult&) const = default;
};

}  // namespace folvane
