#include <gtest/gtest.h>

#include "providers/ModelCatalogue.h"
#include "providers/TogetherModels.h"

namespace folvane {
namespace {

using nlohmann::json;

std::vector<std::string> titles(const std::vector<ModelSection>& sections) {
    std::vector<std::string> result;
    for (const auto& section : sections) result.push_back(section.title);
    return result;
}

TEST(ModelCatalogueTest, TheOpenAIPickerHasItsThreeSections) {
    const auto sections = chatModelChoices("OpenAI", json::array(), json::array());
    EXPECT_EQ(titles(sections), (std::vector<std::string>{"GPT-4", "GPT-3", "Specific Version"}));
    EXPECT_EQ(sections[0].models.front(), "gpt-4-turbo-preview");
    EXPECT_EQ(sections[2].models.back(), "gpt-3.5-turbo-16k-0613");
}

TEST(ModelCatalogueTest, EachOtherProviderOffersOnePlainListOrNone) {
    const json openRouter = json::array({{{"id", "mistralai/mixtral"}, {"name", "Mixtral"}},
                                         {{"name", "no id"}},
                                         "not an object",
                                         {{"id", "openai/gpt-4o"}}});
    const json ollama = json::array({{{"name", "llama3:8b"}}, {{"name", ""}}});
    std::vector<std::string> together;  // the whole catalogue, in its order
    for (const auto& model : togetherModels()) together.emplace_back(model.id);
    struct Case {
        std::string provider;
        json openRouter, ollama;
        std::vector<std::string> models;  // the one plain section; empty: no choice at all
    };
    const std::vector<Case> cases{
        {"OpenRouter", openRouter, json::array(), {"mistralai/mixtral", "openai/gpt-4o"}},
        {"OpenRouter", json::array(), json::array(), model_lists::openRouterFallback()},
        {"OpenRouter", json::object(), json::array(), model_lists::openRouterFallback()},
        {"Ollama", json::array(), ollama, {"llama3:8b"}},
        {"Ollama", json::array(), json::array(), {}},
        {"MistralAI", json::array(), json::array(), model_lists::mistral()},
        {"PerplexityAI", json::array(), json::array(), model_lists::perplexity()},
        {"Groq", json::array(), json::array(), {"llama2-70b-4096", "mixtral-8x7b-32768"}},
        {"TogetherAI", openRouter, ollama, together},
        {"LocalAI", openRouter, ollama, {}},
        {"AzureOpenAI", openRouter, ollama, {}},
    };
    for (const auto& c : cases) {
        const auto sections = chatModelChoices(c.provider, c.openRouter, c.ollama);
        if (c.models.empty()) {
            EXPECT_TRUE(sections.empty()) << c.provider;
            continue;
        }
        ASSERT_EQ(sections.size(), 1u) << c.provider;
        EXPECT_EQ(sections[0].title, "") << c.provider;
        EXPECT_EQ(sections[0].models, c.models) << c.provider;
    }
}

}  // namespace
}  // namespace folvane
