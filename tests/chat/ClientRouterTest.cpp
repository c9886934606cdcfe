#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chat/AppChatServiceError.h"
#include "chat/ClientRouter.h"
#include "platform/CurlHttpClient.h"
#include "providers/OpenAI.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using Case = AppChatServiceError::Case;

class ClientRouterTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    CustomModelHelper customModels{db};
    AppPreferences preferences;
    ClientRouter router{preferences, customModels, CustomModelSecrets(preferences.secretStore()),
                        [] { return std::make_shared<CurlHttpClient>(); }};

    Conversation chat(const std::string& model, int64_t customModelId = 0) {
        Conversation c;
        c.model = model;
        c.customModelId = customModelId;
        return c;
    }

    int64_t custom(const std::string& provider, const std::string& endpoint, int contextLength) {
        CustomModel m;
        m.provider = provider;
        m.name = provider;
        m.apiEndpoint = endpoint;
        m.modelId = "some-model";
        m.contextLength = contextLength;
        m.headers = std::vector<CustomModelHeaderEntry>{{"api-key", "test-key"}};
        return customModels.insert(m);
    }

    Case refusal(const Conversation& conversation) {
        try {
            router.resolveClient(conversation);
        } catch (const AppChatServiceError& error) {
            return error.errorCase();
        }
        ADD_FAILURE() << "the route was not refused";
        return Case::searchFailed;
    }
};

TEST_F(ClientRouterTest, BuiltInChatsShareOneClientWithTheOpenAILimits) {
    const auto first = router.resolveClient(chat("gpt-4"));
    const auto second = router.resolveClient(chat("an-unknown-model"));
    EXPECT_EQ(first.client, second.client);
    EXPECT_FALSE(first.customModel);
    EXPECT_EQ(second.contextLength, 2048);
    // The client is made once: a later host change waits for the next start.
    preferences.setCustomHost("127.0.0.1:9");
    EXPECT_EQ(router.resolveClient(chat("gpt-4")).client, first.client);
    EXPECT_EQ(router.defaultClient(), first.client);
}

TEST_F(ClientRouterTest, ContextLengthsByProvider) {
    const int64_t mistral = custom("MistralAI", "https://api.mistral.ai/v1", 32000);
    const int64_t ollama = custom("Ollama", "http://localhost:11434", 6000);
    const int64_t local = custom("LocalAI", "http://localhost:8080/v1/chat/completions", 3000);
    const int64_t openRouter = custom("OpenRouter", "https://openrouter.ai/api", 0);
    preferences.setOpenRouterModels(
        nlohmann::json::array({{{"id", "vendor/long-model"}, {"context_length", 100000}}}));
    const std::vector<std::pair<Conversation, int>> cases = {
        {chat("mistral-large", mistral), 8000},
        {chat("llama3", ollama), 6000},
        {chat("qwen", local), 3000},
        {chat("vendor/long-model", openRouter), 100000},
        {chat("unknown-model"), 2048},
    };
    for (const auto& [conversation, length] : cases) {
        SCOPED_TRACE(conversation.model);
        EXPECT_EQ(router.resolveClient(conversation).contextLength, length);
        // The check before retrieval sees the same length.
        EXPECT_EQ(router.contextLength(conversation), length);
    }
}

TEST_F(ClientRouterTest, ACustomModelsClientIsMadeForEachRequest) {
    const int64_t id = custom("Ollama", "http://localhost:11434", 4096);
    const auto first = router.resolveClient(chat("llama3", id));
    customModels.update(id, "Ollama", "http://127.0.0.1:11500", "llama3", 4096,
                        std::vector<CustomModelHeaderEntry>{}, true);
    const auto second = router.resolveClient(chat("llama3", id));
    EXPECT_NE(first.client, second.client);
    EXPECT_NE(first.client->configuration().baseURL, second.client->configuration().baseURL);
}

TEST_F(ClientRouterTest, RoutesThatCannotCarryAChatAreRefused) {
    const int64_t deleted = custom("Ollama", "http://localhost:11434", 4096);
    customModels.remove(deleted);
    EXPECT_EQ(refusal(chat("llama3", deleted)), Case::initError);
    EXPECT_EQ(refusal(chat("llama3", 999)), Case::initError);
    for (const char* provider : {"AnthropicAI", "Anthropic", "GoogleAI", "OpenAI", "Unheard"}) {
        EXPECT_EQ(refusal(chat("m", custom(provider, "https://example.com", 1000))),
                  Case::unsupportedApiProvider)
            << provider;
    }
}

TEST_F(ClientRouterTest, TheDefaultClientNeedsAKey) {
    EXPECT_THAT([&] { router.defaultClient(); }, ::testing::ThrowsMessage<AppChatServiceError>(
                                                     "You haven't configured OpenAI API key yet"));
    preferences.setOpenAIKey("test-key");
    preferences.waitForSecretWrites();
    EXPECT_EQ(router.defaultClient()->configuration().token, "test-key");
}

}  // namespace
}  // namespace folvane
