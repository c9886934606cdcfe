#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// One group of a model picker: a heading (empty for a plain list) and the
// model identifiers under it, in order.
struct ModelSection {
    std::string title;
    std::vector<std::string> models;

    bool operator==(const ModelSection&) const = default;
};

// The fixed model lists that the chat's picker offers.
namespace model_lists {
const std::vector<std::string>& openAISpecificVersions();
const std::vector<std::string>& openAIGPT4();
const std::vector<std::string>& openAIGPT3();
const std::vector<std::string>& perplexity();
const std::vector<std::string>& mistral();
const std::vector<std::string>& groq();
const std::vector<std::string>& openRouterFallback();
}  // namespace model_lists

// What a chat's model picker offers for its provider ("OpenAI" for a chat
// without a custom model): the OpenAI sections, a stored catalogue (the
// OpenRouter one falls back to its fixed list when empty), or a fixed list.
// Empty when the provider offers no choice and the row's model id is the model.
// `openRouterModels` and `ollamaModels` are the stored catalogues, JSON arrays
// of objects with "id" and "name" respectively; malformed entries are skipped.
std::vector<ModelSection> chatModelChoices(std::string_view provider,
                                           const nlohmann::json& openRouterModels,
                                           const nlohmann::json& ollamaModels);

}  // namespace folvane
