#include <gtest/gtest.h>

#include "providers/ModelNames.h"

namespace folvane {
namespace {

TEST(ModelNamesTest, TheProviderPicksTheTableAndAnUnknownModelShowsItsId) {
    struct Case {
        std::string model, provider, name;
    };
    const std::vector<Case> cases{
        {"gpt-4-turbo-preview", "OpenAI", "GPT-4 Turbo (new)"},
        {"gpt-3.5-turbo", "LocalAI", "GPT-3.5"},
        {"openai/gpt-4-0314", "OpenRouter", "OpenAI: GPT-4 (older v0314)"},
        {"gpt-4", "OpenRouter", "gpt-4"},
        {"claude-2.1", "AnthropicAI", "Claude 2"},
        {"gemini-1.5-pro-latest", "GoogleAI", "Gemini 1.5 Pro (Latest)"},
        {"togethercomputer/guanaco-7b", "TogetherAI", "Guanaco (7B) "},
        {"qwen2.5:7b", "Ollama", "qwen2.5:7b"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(modelDisplayName(c.model, c.provider), c.name) << c.model << " " << c.provider;
    }
    EXPECT_EQ(providerDisplayName("LocalAI"), "Local Model");
    EXPECT_EQ(providerDisplayName("AnthropicAI"), "OpenAI");
}

TEST(ModelNamesTest, IconsFollowTheProviderThenTheModel) {
    struct Case {
        std::string model, provider, icon;
    };
    const std::vector<Case> cases{
        {"mixtral-8x7b-instruct", "PerplexityAI", "IconMistral"},
        {"llama-2-70b-chat", "PerplexityAI", "IconMeta"},
        {"pplx-7b-online", "PerplexityAI", "IconPerplexity"},
        {"openai/gpt-3.5-turbo", "OpenRouter", "IconGPT3"},
        {"meta-llama/llama-2-13b-chat", "OpenRouter", "IconMeta"},
        {"mistralai/mixtral", "OpenRouter", "IconOpenRouter"},
        {"anything", "LocalAI", "IconFolvane"},
        {"gpt-4o", "OpenAI", "IconGPT4"},
        {"claude-2", "", "IconAnthropic"},
        {"gpt-3.5-turbo", "OpenAI", "IconGPT3"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(modelIcon(c.model, c.provider), c.icon) << c.model << " " << c.provider;
    }
}

}  // namespace
}  // namespace folvane
