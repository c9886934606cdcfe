#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// The kinds of splitter, in this order; the raw value is the case name.
enum class TextSplitterType {
    token,
    character,
    recursive,
};

std::string_view rawValue(TextSplitterType value);
std::optional<TextSplitterType> textSplitterTypeFromRaw(std::string_view raw);

}  // namespace folvane
