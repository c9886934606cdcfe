#pragma once

#include <span>
#include <string>
#include <string_view>

#include "store/CustomModel.h"

namespace folvane {

// What a new custom model starts with, and what each provider's settings form
// fills in before the user types anything.
class CustomModelDefaults {
  public:
    // The providers a user can add, in the order of the Add menu.
    static std::span<const std::string_view> addableProviders();
    // The Add menu's entry of a provider ("Together.AI", "OpenAI-compatible
    // Server (beta)"...); empty for a provider the menu does not list.
    static std::string_view addMenuTitle(std::string_view provider);

    // The row that addNew inserts: no id, no model, streaming on, no headers,
    // the provider's name, default endpoint and context length.
    static CustomModel newRow(std::string_view provider);

    // What the provider's form saves as the endpoint when the user keeps its
    // default host, and the model it preselects. Empty when the form has none.
    static std::string formEndpoint(std::string_view provider);
    static std::string formModelId(std::string_view provider);
};

}  // namespace folvane
