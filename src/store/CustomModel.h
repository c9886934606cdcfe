#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/Date.h"

namespace folvane {

// An extra HTTP header of a custom model; identified by its key.
struct CustomModelHeaderEntry {
    std::string key;
    std::string value;

    bool operator==(const CustomModelHeaderEntry&) const = default;
};

// A user-defined model endpoint.
struct CustomModel {
    std::optional<int64_t> id;
    std::string provider;
    std::string name;
    std::string apiEndpoint;
    std::string modelId;
    int contextLength = 0;
    bool useStream = true;
    std::optional<std::vector<CustomModelHeaderEntry>> headers;
    bool deleted = false;
    Date createdAt = now();
    Date updatedAt = now();

    bool operator==(const CustomModel&) const = default;
};

}  // namespace folvane
