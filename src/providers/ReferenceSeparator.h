#pragma once

#include <string_view>

namespace folvane {

// What the instruction asks a model to write between its answer and the page
// numbers it drew on; the reader of the reply cuts the answer there.
inline constexpr std::string_view referenceSeparator = ".....REFS.....";

}  // namespace folvane
