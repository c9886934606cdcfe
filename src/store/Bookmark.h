#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/Date.h"

namespace folvane {

// One known document.
struct Bookmark {
    int64_t id = 0;
    std::string filePath;       // the file's URL, file:// form
    std::vector<uint8_t> data;  // access data that reopen the file (FileBookmark)
    std::string hash;           // documentDigest of the file
    std::string indexingStatus = "none";
    std::optional<std::string> tags;
    Date createdAt = now();
    Date updatedAt = now();

    bool operator==(const Bookmark&) const = default;
};

}  // namespace folvane
