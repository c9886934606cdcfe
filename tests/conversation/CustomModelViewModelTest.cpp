#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "chat/ClientRouter.h"
#include "conversation/CustomModelListViewModel.h"
#include "providers/CustomModelDefaults.h"
#include "providers/CustomModelFormCheck.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
namespace input = custom_model_list_input;

TEST(CustomModelDefaultsTest, ANewRowStartsWithItsProvidersNameEndpointAndContext) {
    struct Case {
        std::string provider;
        std::string name;
        std::string endpoint;
        int context;
    };
    const std::vector<Case> cases{
        {"Ollama", "Ollama", "http://localhost:11434", 8096},
        {"LocalAI", "Local Model", "http://localhost:8080/v1/chat/completions", 2048},
        {"MistralAI", "Mistral AI", "", 8096},
        {"PerplexityAI", "Perplexity AI", "", 8096},
        {"TogetherAI", "Together AI", "", 8096},
        {"AnthropicAI", "Anthropic", "https://api.anthropic.com", 100000},
        {"GoogleAI", "Google AI", "https://generativelanguage.googleapis.com", 1000000},
        {"Groq", "Groq", "api.groq.com", 4096},  // a host without a scheme
        {"AzureOpenAI", "Azure OpenAI", "", 2048},
        {"OpenRouter", "OpenRouter", "", 2048},
        {"SomethingElse", "OpenAI", "", 2048},
    };
    for (const auto& c : cases) {
        const CustomModel row = CustomModelDefaults::newRow(c.provider);
        EXPECT_EQ(row.provider, c.provider);
        EXPECT_EQ(row.name, c.name) << c.provider;
        EXPECT_EQ(row.apiEndpoint, c.endpoint) << c.provider;
        EXPECT_EQ(row.contextLength, c.context) << c.provider;
    }
    EXPECT_THAT(CustomModelDefaults::addableProviders(),
                ElementsAre("AzureOpenAI", "OpenRouter", "MistralAI", "PerplexityAI", "TogetherAI",
                            "Groq", "Ollama", "LocalAI"));
    EXPECT_EQ(CustomModelDefaults::addMenuTitle("LocalAI"), "OpenAI-compatible Server (beta)");
    EXPECT_EQ(CustomModelDefaults::addMenuTitle("TogetherAI"), "Together.AI");
}

TEST(CustomModelFormCheckTest, EachFormRefusesWhatItCannotSave) {
    struct Case {
        std::string provider, name, endpoint, context;
        std::optional<std::string> problem;
    };
    const std::string server = "http://localhost:1234/v1/chat/completions";
    const std::vector<Case> cases{
        {"LocalAI", "Mine", server, "2048", std::nullopt},
        {"LocalAI", "", server, "2048", "no name"},
        {"LocalAI", "Mine", "http://localhost:1234/v1", "2048", "invalid endpoint"},
        {"LocalAI", "Mine", "/chat/completions", "2048", "invalid endpoint"},
        {"LocalAI", "Mine", "not a url", "2048", "invalid endpoint"},
        {"LocalAI", "Mine", server, "lots", "no context length / api endpoint"},
        {"LocalAI", "Mine", server, "", "no context length / api endpoint"},
        {"AzureOpenAI", "Az",
         "https://x.openai.azure.com/openai/deployments/d/chat/completions"
         "?api-version=2024-02-01",
         "4096", std::nullopt},
        {"AzureOpenAI", "Az", "https://x.openai.azure.com/openai", "4096", "invalid end point"},
        {"AzureOpenAI", "Az", "", "4096", "no context length / api endpoint"},
        {"OpenRouter", "OR", "https://openrouter.ai/api", "x", std::nullopt},
        {"OpenRouter", "OR", "", "4096", "invalid end point"},
        {"Ollama", "", "http://localhost:11434", "8096", "no name"},
        {"Ollama", "Llama", "http://localhost:11434", "8k", "no context length"},
        {"Ollama", "Llama", "", "8096", "no context length / api endpoint"},
        {"MistralAI", "M", "https://api.mistral.ai", "8096", std::nullopt},
        {"Groq", "G", "https://api.groq.com/openai/v1", "nope", "no context length / api endpoint"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CustomModelFormCheck::problem(c.provider, c.name, c.endpoint, c.context),
                  c.problem)
            << c.provider << " " << c.endpoint << " " << c.context;
    }
}

class CustomModelViewModelTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    CustomModelListViewModel list{service, preferences};

    std::vector<std::string> listedNames() const {
        std::vector<std::string> names;
        for (const auto& model : list.state().models) names.push_back(model.state().model.name);
        return names;
    }
};

TEST_F(CustomModelViewModelTest, AddNewInsertsTheDefaultRowAndSyncReadsTheLiveRows) {
    list.trigger(input::AddNew{"Ollama"});
    list.trigger(input::AddNew{"LocalAI"});
    ASSERT_THAT(listedNames(), ElementsAre("Ollama", "Local Model"));
    const auto& added = list.state().models.back();
    ASSERT_GT(added.id(), 0);
    const auto stored = service.getCustomModel(added.id()).value();
    EXPECT_EQ(stored, added.state().model);
    EXPECT_EQ(stored.apiEndpoint, "http://localhost:8080/v1/chat/completions");

    CustomModelListViewModel fresh(service, preferences);
    fresh.trigger(input::Sync{});
    ASSERT_EQ(fresh.state().models.size(), 2u);
    EXPECT_EQ(fresh.state().models[1].state().model, stored);
}

TEST_F(CustomModelViewModelTest, RemovingTheDefaultSendsNewChatsBackToTheBuiltInRoute) {
    list.trigger(input::AddNew{"Groq"});
    list.trigger(input::AddNew{"Ollama"});
    const int64_t groq = list.state().models[0].id();
    const int64_t ollama = list.state().models[1].id();
    preferences.setCustomModelId(ollama);

    list.trigger(input::Remove{groq});
    EXPECT_THAT(listedNames(), ElementsAre("Ollama"));
    EXPECT_EQ(preferences.customModelId(), ollama);
    EXPECT_FALSE(service.getCustomModel(groq));  // marked deleted, no longer found

    list.trigger(input::Remove{ollama});
    EXPECT_TRUE(list.state().models.empty());
    EXPECT_EQ(preferences.customModelId(), 0);
    list.trigger(input::Sync{});
    EXPECT_TRUE(list.state().models.empty());
}

TEST_F(CustomModelViewModelTest, SaveWritesTheRowAndTheStateAndEmptiesTheClientCaches) {
    list.trigger(input::AddNew{"LocalAI"});
    auto model = list.state().models.front();
    Conversation builtIn;  // customModelId 0: the kept built-in client
    const auto before = service.router().resolveClient(builtIn).client;
    ASSERT_EQ(service.router().resolveClient(builtIn).client, before);

    int notified = 0;
    auto subscription = model.subscribe([&] { ++notified; });
    const std::vector<CustomModelHeaderEntry> headers{{"api-key", "sk-local"}, {"X-Team", "a"}};
    model.trigger(custom_model_input::Save{"Workstation",
                                           "http://10.0.0.2:8000/v1/chat/completions", "qwen2.5",
                                           32768, headers, false});
    EXPECT_EQ(notified, 1);
    const CustomModel& state = model.state().model;
    EXPECT_EQ(state.name, "Workstation");
    EXPECT_EQ(state.contextLength, 32768);
    EXPECT_FALSE(state.useStream);
    const auto stored = service.getCustomModel(model.id()).value();
    EXPECT_EQ(stored.name, "Workstation");
    EXPECT_EQ(stored.apiEndpoint, "http://10.0.0.2:8000/v1/chat/completions");
    EXPECT_EQ(stored.modelId, "qwen2.5");
    EXPECT_EQ(stored.headers, headers);

    EXPECT_NE(service.router().resolveClient(builtIn).client, before);
}

}  // namespace
}  // namespace folvane
