#pragma once

#include <string>
#include <string_view>

namespace folvane {

// The settings forms of the Models tab. Each provider value of a custom model
// opens one of them; a value no form knows opens `custom`.
enum class ProviderForm {
    openAI,
    openAIKeyModal,
    azure,
    openRouter,
    mistral,
    perplexity,
    together,
    groq,
    ollama,
    custom,
    anthropic,
    googleAI,
};

// The form of a custom model's provider value ("AzureOpenAI" -> azure,
// "Anthropic" -> custom, "AnthropicAI" -> anthropic...).
ProviderForm providerFormFor(std::string_view provider);

// Where the checks and the model lists go: the providers' public addresses
// by default. Tests point them at a loopback server.
struct ProviderEndpoints {
    std::string openAI = "https://api.openai.com";
    std::string anthropic = "https://api.anthropic.com";
    std::string googleAI = "https://generativelanguage.googleapis.com";
    std::string mistral = "https://api.mistral.ai";
    std::string perplexity = "https://api.perplexity.ai";
    std::string together = "https://api.together.xyz";
    std::string groq = "https://api.groq.com";
    std::string openRouter = "https://openrouter.ai";
};

}  // namespace folvane
