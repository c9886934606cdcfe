#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace folvane {

// The checks a provider's settings form makes on its fields before it saves:
// the name, the endpoint and the context length as typed.
class CustomModelFormCheck {
  public:
    // The words of the first problem ("no name", "invalid endpoint",
    // "invalid end point", "no context length / api endpoint",
    // "no context length"), or nothing when the fields may be saved.
    static std::optional<std::string> problem(std::string_view provider, std::string_view name,
                                              std::string_view apiEndpoint,
                                              std::string_view contextLength);

    // A whole decimal int, as the forms accept it.
    static std::optional<int> parseContextLength(std::string_view text);
};

}  // namespace folvane
