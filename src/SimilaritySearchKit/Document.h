#pragma once

#include <map>
#include <string>

namespace folvane {

// One piece of text on its way to the index: a page or a chunk of one, with
// what is known about where it came from (at least the key "page").
struct Document {
    std::string pageContent;
    std::map<std::string, std::string> metadata;

    bool operator==(const Document&) const = default;
};

}  // namespace folvane
