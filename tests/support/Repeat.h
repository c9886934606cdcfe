#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace folvane::test {

// The piece written the given number of times in a row.
inline std::string repeat(std::string_view piece, std::size_t times) {
    std::string result;
    result.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i) result += piece;
    return result;
}

}  // namespace folvane::test
