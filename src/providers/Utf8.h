#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace folvane {

// The length of the longest prefix of bytes made of whole, valid UTF-8
// characters, when what follows it is the start of a character that more
// bytes could finish (at most three bytes). Nothing when the bytes hold a
// sequence that no further byte can make valid.
std::optional<size_t> completeUtf8Prefix(std::string_view bytes);

}  // namespace folvane
