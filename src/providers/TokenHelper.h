#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

namespace folvane {

// The context window of a model in tokens. The provider is one of the provider
// strings of a custom model ("OpenAI" for the built-in models) and is looked at
// before the model. `openRouterCatalogue` is the stored OpenRouter catalogue
// (a JSON array of models with "id" and "context_length"); when it is not
// empty it alone answers for "OpenRouter".
int tokenLimit(std::string_view model, std::string_view provider,
               const nlohmann::json& openRouterCatalogue);
// As above with an empty OpenRouter catalogue.
int tokenLimit(std::string_view model, std::string_view provider);

// Dollars for one token of the model: the output price for the role
// "assistant", the input price for any other. A model not in the table costs 0.
double tokenPrice(std::string_view model, std::string_view role);

}  // namespace folvane
