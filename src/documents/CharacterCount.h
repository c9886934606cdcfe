#pragma once

#include <cstddef>
#include <string_view>

namespace folvane {

// The number of user-perceived characters (extended grapheme clusters) of a
// UTF-8 text, counted up to `limit`: a longer text gives `limit`.
size_t countCharacters(std::string_view text, size_t limit);

}  // namespace folvane
