#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "store/IndexItem.h"

namespace folvane {

// A reader for the stored JSON form of an IndexItem that builds no document:
// strings are decoded in place and the vector's numbers go straight to floats
// through std::from_chars (as a double, then narrowed, which gives the same
// floats as a JSON library's reading).
//
// It reads the form this program writes: one object with the keys id, text,
// embedding and metadata once each, in any order, and nothing else. For
// anything it does not read (another key, a malformed text, a number out of
// range) it gives nothing, and the caller uses the general JSON parser, which
// then accepts or rejects the text as before.
class IndexItemJsonReader {
  public:
    static std::optional<IndexItem> read(std::string_view json);

    // Reads "[n, n, ...]" from `position` (leading white space allowed) and
    // moves `position` past it. False for anything that is not a JSON array of
    // numbers.
    static bool readFloatArray(std::string_view json, size_t& position, std::vector<float>& out);
};

}  // namespace folvane
