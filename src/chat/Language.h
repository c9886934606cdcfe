#pragma once

#include <array>
#include <string_view>

namespace folvane {

// A language the answers can be asked in. The code is what a conversation
// stores; the label is what the model reads.
struct Language {
    std::string_view isoCode;
    std::string_view flag;
    std::string_view label;

    static const std::array<Language, 107>& all();
    // nullptr for an empty or unknown code.
    static const Language* find(std::string_view isoCode);
};

}  // namespace folvane
