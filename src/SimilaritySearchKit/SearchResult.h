#pragma once

#include <map>
#include <string>

namespace folvane {

// One hit of a search: the item's id, text and metadata with its score.
struct SearchResult {
    std::string id;
    float score = 0;
    std::string text;
    std::map<std::string, std::string> metadata;

    bool operator==(const SearchResult&) const = default;
};

}  // namespace folvane
