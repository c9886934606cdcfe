#include "providers/ModelNames.h"

#include <utility>

#include "providers/TogetherModels.h"

namespace folvane {

namespace {

using Names = std::initializer_list<std::pair<std::string_view, std::string_view>>;

std::optional<std::string_view> lookUp(Names names, std::string_view key) {
    for (const auto& [from, to] : names) {
        if (from == key) return to;
    }
    return std::nullopt;
}

constexpr bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

const Names openRouterNames = {
    {"openai/gpt-3.5-turbo", "OpenAI: GPT-3.5 Turbo"},
    {"openai/gpt-3.5-turbo-16k", "OpenAI: GPT-3.5 Turbo 16k"},
    {"openai/gpt-4", "OpenAI: GPT-4"},
    {"openai/gpt-4-32k", "OpenAI: GPT-4 32k"},
    {"anthropic/claude-2", "Anthropic: Claude v2"},
    {"anthropic/claude-instant-v1", "Anthropic: Claude Instant v1"},
    {"google/palm-2-chat-bison", "Google: PaLM 2 Bison"},
    {"google/palm-2-codechat-bison", "Google: PaLM 2 Bison (Code Chat)"},
    {"meta-llama/llama-2-13b-chat", "Meta: Llama v2 13B Chat (beta)"},
    {"meta-llama/llama-2-70b-chat", "Meta: Llama v2 70B Chat (beta)"},
    {"meta-llama/codellama-34b-instruct", "Meta: CodeLlama 34B Instruct (beta)"},
    {"openai/gpt-3.5-turbo-0301", "OpenAI: GPT-3.5 Turbo (older v0301)"},
    {"openai/gpt-4-0314", "OpenAI: GPT-4 (older v0314)"},
    {"openai/gpt-4-32k-0314", "OpenAI: GPT-4 32K (older v0314)"},
    {"openai/text-davinci-002", "OpenAI: Davinci (No RL)"},
    {"openai/gpt-3.5-turbo-instruct", "OpenAI: GPT-3.5 Turbo Instruct"},
    {"anthropic/claude-v1", "Anthropic: Claude v1"},
    {"anthropic/claude-1.2", "Anthropic: Claude (older v1)"},
    {"anthropic/claude-instant-1.0", "Anthropic: Claude Instant (older v1)"},
    {"anthropic/claude-v1-100k", "Anthropic: Claude 100k v1"},
    {"anthropic/claude-instant-v1-100k", "Anthropic: Claude Instant 100k v1"},
};

const Names anthropicNames = {
    {"claude-2", "Claude 2"},
    {"claude-2.1", "Claude 2"},
    {"claude-2.0", "Claude 2"},
    {"claude-instant-1", "Claude Instant 1"},
    {"claude-instant-1.2", "Claude Instant 1.2"},
    {"claude-3-opus-20240229", "Claude 3 Opus"},
    {"claude-3-sonnet-20240229", "Claude 3 Sonnet"},
};

const Names googleNames = {
    {"gemini-1.0-pro", "Gemini 1.0 Pro"},
    {"gemini-1.5-pro-latest", "Gemini 1.5 Pro (Latest)"},
};

const Names openAINames = {
    {"gpt-4", "GPT-4"},
    {"gpt-4-0613", "GPT-4 (0613)"},
    {"gpt-4-0314", "GPT-4 (0314 - legacy)"},
    {"gpt-4-32k", "GPT-4 32K"},
    {"gpt-4-32k-0613", "GPT-4 32K (0613)"},
    {"gpt-4-32k-0314", "GPT-4 32K (0314 - legacy)"},
    {"gpt-3.5-turbo-1106", "GPT-3.5 Turbo 1106"},
    {"gpt-3.5-turbo-0125", "GPT-3.5 Turbo 0125 (new)"},
    {"gpt-4-1106-preview", "GPT-4 Turbo (preview)"},
    {"gpt-3.5-turbo-16k", "GPT-3.5 16K"},
    {"gpt-3.5-turbo-16k-0613", "GPT-3.5 16K (0613)"},
    {"gpt-3.5-turbo-0613", "GPT-3.5 (0613 - legacy)"},
    {"gpt-3.5-turbo-0301", "GPT-3.5 (0301 - legacy)"},
    {"gpt-3.5-turbo", "GPT-3.5"},
    {"gpt-4-0125-preview", "GPT-4 Turbo 0125 (new)"},
    {"gpt-4-turbo-preview", "GPT-4 Turbo (new)"},
};

}  // namespace

std::string_view providerDisplayName(std::string_view provider) {
    static const Names names = {
        {providers::azureOpenAI, "Azure OpenAI"},
        {providers::openRouter, "OpenRouter"},
        {providers::mistralAI, "Mistral AI"},
        {providers::perplexityAI, "Perplexity AI"},
        {providers::togetherAI, "Together AI"},
        {providers::groq, "Groq"},
        {providers::ollama, "Ollama"},
        {providers::localAI, "Local Model"},
    };
    return lookUp(names, provider).value_or("OpenAI");
}

std::string modelDisplayName(std::string_view model, std::string_view provider) {
    std::optional<std::string_view> name;
    if (provider == providers::openRouter) {
        name = lookUp(openRouterNames, model);
    } else if (provider == providers::anthropic || provider == providers::anthropicAI) {
        name = lookUp(anthropicNames, model);
    } else if (provider == providers::googleAI) {
        name = lookUp(googleNames, model);
    } else if (provider == providers::togetherAI) {
        if (const auto* row = findTogetherModel(model)) name = row->displayName;
    } else {
        name = lookUp(openAINames, model);
    }
    return std::string(name.value_or(model));
}

std::string_view modelIcon(std::string_view model, std::string_view provider) {
    if (provider == providers::mistralAI) return "IconMistral";
    if (provider == providers::perplexityAI) {
        if (startsWith(model, "mistral") || startsWith(model, "mixtral")) return "IconMistral";
        if (model.find("llama") != std::string_view::npos) return "IconMeta";
        return "IconPerplexity";
    }
    if (provider == providers::togetherAI) return "IconTogether";
    if (provider == providers::localAI) return "IconFolvane";
    if (provider == providers::anthropic || provider == providers::anthropicAI) {
        return "IconAnthropic";
    }
    if (provider == providers::ollama) return "IconOllama";
    if (provider == providers::groq) return "IconGroq";
    if (provider == providers::googleAI) return "IconGemini";
    if (provider == providers::openRouter) {
        if (startsWith(model, "openai/gpt-3.5")) return "IconGPT3";
        if (startsWith(model, "openai/gpt-4")) return "IconGPT4";
        if (startsWith(model, "anthropic/")) return "IconAnthropic";
        if (startsWith(model, "meta")) return "IconMeta";
        if (startsWith(model, "google")) return "IconGoogle";
        return "IconOpenRouter";
    }
    if (startsWith(model, "gpt-4") || model == "openai/gpt-4" || model == "openai/gpt-4-32k" ||
        model == "openai/gpt-4-0314") {
        return "IconGPT4";
    }
    if (model == "anthropic/claude-2" || model == "anthropic/claude-instant-v1" ||
        model == "claude-instant-1" || model == "claude-2") {
        return "IconAnthropic";
    }
    return "IconGPT3";
}

}  // namespace folvane
