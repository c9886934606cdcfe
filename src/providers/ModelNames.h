#pragma once

#include <string>
#include <string_view>

namespace folvane {

// The provider constants of CustomModel.provider.
namespace providers {
inline constexpr std::string_view openAI = "OpenAI";
inline constexpr std::string_view azureOpenAI = "AzureOpenAI";
inline constexpr std::string_view openRouter = "OpenRouter";
inline constexpr std::string_view mistralAI = "MistralAI";
inline constexpr std::string_view perplexityAI = "PerplexityAI";
inline constexpr std::string_view togetherAI = "TogetherAI";
inline constexpr std::string_view groq = "Groq";
inline constexpr std::string_view ollama = "Ollama";
inline constexpr std::string_view localAI = "LocalAI";
inline constexpr std::string_view anthropicAI = "AnthropicAI";
inline constexpr std::string_view anthropic = "Anthropic";
inline constexpr std::string_view googleAI = "GoogleAI";
}  // namespace providers

// The model that answers a turn with images, whatever model the chat uses.
inline constexpr std::string_view visionModel = "gpt-4-vision-preview";

// How a provider is named in lists and forms; an unknown provider shows as "OpenAI".
std::string_view providerDisplayName(std::string_view provider);

// The text a model shows in pickers and chats: the provider picks the table,
// and a model in no table shows its own id.
std::string modelDisplayName(std::string_view model, std::string_view provider);

// The asset name of a model's icon.
std::string_view modelIcon(std::string_view model, std::string_view provider);

}  // namespace folvane
