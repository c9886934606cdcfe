#include "providers/CustomModelDefaults.h"

#include <array>

#include "providers/ModelNames.h"

namespace folvane {

namespace {

// The hosts of the providers' APIs.
constexpr std::string_view anthropicEndpoint = "https://api.anthropic.com";
constexpr std::string_view googleEndpoint = "https://generativelanguage.googleapis.com";
constexpr std::string_view groqHost = "api.groq.com";
constexpr std::string_view groqFormEndpoint = "https://api.groq.com/openai/v1";
constexpr std::string_view openRouterEndpoint = "https://openrouter.ai/api";
constexpr std::string_view mistralEndpoint = "https://api.mistral.ai";
constexpr std::string_view perplexityEndpoint = "https://api.perplexity.ai";
constexpr std::string_view togetherEndpoint = "https://api.together.xyz";
constexpr std::string_view ollamaEndpoint = "http://localhost:11434";
constexpr std::string_view localAIEndpoint = "http://localhost:8080/v1/chat/completions";

struct MenuEntry {
    std::string_view provider;
    std::string_view title;
};

constexpr std::array<MenuEntry, 8> addMenu{{
    {providers::azureOpenAI, "Azure OpenAI"},
    {providers::openRouter, "OpenRouter"},
    {providers::mistralAI, "Mistral AI"},
    {providers::perplexityAI, "Perplexity AI"},
    {providers::togetherAI, "Together.AI"},
    {providers::groq, "Groq"},
    {providers::ollama, "Ollama"},
    {providers::localAI, "OpenAI-compatible Server (beta)"},
}};

}  // namespace

std::span<const std::string_view> CustomModelDefaults::addableProviders() {
    static const std::array<std::string_view, addMenu.size()> names = [] {
        std::array<std::string_view, addMenu.size()> list{};
        for (size_t i = 0; i < addMenu.size(); ++i) list[i] = addMenu[i].provider;
        return list;
    }();
    return names;
}

std::string_view CustomModelDefaults::addMenuTitle(std::string_view provider) {
    for (const auto& entry : addMenu) {
        if (entry.provider == provider) return entry.title;
    }
    return {};
}

CustomModel CustomModelDefaults::newRow(std::string_view provider) {
    CustomModel model;
    model.provider = std::string(provider);
    model.modelId = "";
    model.useStream = true;
    model.headers = std::vector<CustomModelHeaderEntry>{};
    model.deleted = false;
    model.createdAt = now();
    model.updatedAt = model.createdAt;

    if (provider == providers::anthropicAI) {
        model.name = "Anthropic";
    } else if (provider == providers::googleAI) {
        model.name = "Google AI";
    } else {
        model.name = std::string(providerDisplayName(provider));
    }

    // 8096 is what these rows have always stored, not a typo of 8192.
    if (provider == providers::ollama) {
        model.apiEndpoint = ollamaEndpoint;
        model.contextLength = 8096;
    } else if (provider == providers::localAI) {
        model.apiEndpoint = localAIEndpoint;
        model.contextLength = 2048;
    } else if (provider == providers::mistralAI || provider == providers::perplexityAI ||
               provider == providers::togetherAI) {
        model.contextLength = 8096;
    } else if (provider == providers::anthropicAI) {
        model.apiEndpoint = anthropicEndpoint;
        model.contextLength = 100000;
    } else if (provider == providers::googleAI) {
        model.apiEndpoint = googleEndpoint;
        model.contextLength = 1000000;
    } else if (provider == providers::groq) {
        model.apiEndpoint = groqHost;
        model.contextLength = 4096;
    } else {
        model.contextLength = 2048;
    }
    return model;
}

std::string CustomModelDefaults::formEndpoint(std::string_view provider) {
    if (provider == providers::openRouter) return std::string(openRouterEndpoint);
    if (provider == providers::mistralAI) return std::string(mistralEndpoint);
    if (provider == providers::perplexityAI) return std::string(perplexityEndpoint);
    if (provider == providers::togetherAI) return std::string(togetherEndpoint);
    if (provider == providers::groq) return std::string(groqFormEndpoint);
    if (provider == providers::ollama) return std::string(ollamaEndpoint);
    if (provider == providers::anthropicAI) return std::string(anthropicEndpoint);
    if (provider == providers::googleAI) return std::string(googleEndpoint);
    return {};
}

std::string CustomModelDefaults::formModelId(std::string_view provider) {
    if (provider == providers::azureOpenAI) return "gpt-3.5-turbo";
    if (provider == providers::mistralAI) return "mistral-tiny";
    if (provider == providers::perplexityAI) return "mixtral-8x7b-instruct";
    if (provider == providers::togetherAI) return "openchat/openchat-3.5-1210";
    if (provider == providers::groq) return "llama2-70b-4096";
    if (provider == providers::anthropicAI) return "claude-3-sonnet-20240229";
    if (provider == providers::googleAI) return "gemini-1.0-pro";
    return {};
}

}  // namespace folvane
