#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "store/IndexItem.h"

namespace folvane {

// One stored vector, as written.
struct Embedding {
    std::optional<int64_t> id;
    IndexItem indexItem;
    int64_t bookmarkId = 0;
    std::string embeddingModel;
};

// One stored vector, as read back for use: the index item with its row's
// document and model beside it.
struct IndexItemExtra {
    std::string id;
    std::string text;
    std::vector<float> embedding;
    std::map<std::string, std::string> metadata;
    int64_t bookmarkId = 0;
    std::string embeddingModel;

    bool operator==(const IndexItemExtra&) const = default;
};

}  // namespace folvane
