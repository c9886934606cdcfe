#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "providers/OpenAISettings.h"
#include "providers/ProviderConfigurationError.h"

namespace folvane {
namespace {

using Headers = std::map<std::string, std::string>;
using Entries = std::optional<std::vector<CustomModelHeaderEntry>>;

CustomModel model(const std::string& provider, const std::string& endpoint, Entries headers) {
    CustomModel custom;
    custom.id = 1;
    custom.provider = provider;
    custom.apiEndpoint = endpoint;
    custom.modelId = "model";
    custom.headers = std::move(headers);
    return custom;
}

const Entries keyed =
    std::vector<CustomModelHeaderEntry>{{"api-key", "test-key"}, {"X-Extra", "1"}};

TEST(ProviderConfigurationTest, EachProviderRow) {
    struct Case {
        const char* name;
        CustomModel custom;
        std::string baseURL;
        std::string chats;
        std::string token;
        Headers headers;
    };
    const Headers referer = {{"HTTP-Referer", "https://folvane.app"}, {"X-Title", "Folvane"}};
    auto with = [](Headers a, const Headers& b) {
        for (const auto& [k, v] : b) a[k] = v;
        return a;
    };
    const Headers all = {{"api-key", "test-key"}, {"X-Extra", "1"}};
    const Headers none;
    const std::vector<Case> cases = {
        {"Azure with a query string",
         model("AzureOpenAI",
               "https://res.openai.azure.com/openai/deployments/gpt/chat/"
               "completions?api-version=2024-02-01",
               keyed),
         "https://res.openai.azure.com/openai/deployments/gpt",
         "/chat/completions?api-version=2024-02-01", "not-needed", all},
        {"Azure splits at the first occurrence",
         model("AzureOpenAI", "https://a.example/chat/completions/chat/completions", std::nullopt),
         "https://a.example", "/chat/completions/chat/completions", "not-needed", none},
        {"OpenRouter", model("OpenRouter", "https://openrouter.ai/api", keyed),
         "https://openrouter.ai/api", "/v1/chat/completions", "test-key", with(all, referer)},
        {"Mistral replaces a given title",
         model("MistralAI", "https://api.mistral.ai",
               std::vector<CustomModelHeaderEntry>{{"api-key", "test-key"}, {"x-title", "Other"}}),
         "https://api.mistral.ai", "/v1/chat/completions", "test-key",
         with({{"api-key", "test-key"}}, referer)},
        {"Perplexity", model("PerplexityAI", "https://api.perplexity.ai", keyed),
         "https://api.perplexity.ai", "/chat/completions", "test-key", all},
        {"Together sends no custom header", model("TogetherAI", "https://api.together.xyz", keyed),
         "https://api.together.xyz", "/v1/chat/completions", "test-key", none},
        {"Groq ignores the endpoint", model("Groq", "https://elsewhere.example", keyed),
         "https://api.groq.com", "/openai/v1/chat/completions", "test-key", all},
        {"Ollama", model("Ollama", "http://localhost:11434", std::nullopt),
         "http://localhost:11434", "/v1/chat/completions", "not-needed", none},
        {"LocalAI with a key", model("LocalAI", "http://127.0.0.1:8080/v1/chat/completions", keyed),
         "http://127.0.0.1:8080/v1", "/chat/completions", "test-key", all},
        {"LocalAI without a key",
         model("LocalAI", "http://127.0.0.1:8080/chat/completions", std::nullopt),
         "http://127.0.0.1:8080", "/chat/completions", "", none},
        {"the last api-key wins, later entries replace earlier ones",
         model("PerplexityAI", "https://p.example",
               std::vector<CustomModelHeaderEntry>{
                   {"api-key", "first"}, {"X-A", "1"}, {"api-key", "second"}, {"X-A", "2"}}),
         "https://p.example",
         "/chat/completions",
         "second",
         {{"api-key", "second"}, {"X-A", "2"}}},
    };
    for (const auto& c : cases) {
        Configuration configuration = customModelConfiguration(c.custom);
        EXPECT_EQ(configuration.baseURL, c.baseURL) << c.name;
        EXPECT_EQ(configuration.apiPath.chats, c.chats) << c.name;
        EXPECT_EQ(configuration.token, c.token) << c.name;
        EXPECT_EQ(configuration.customHeaders, c.headers) << c.name;
        EXPECT_FALSE(configuration.organizationIdentifier) << c.name;
        EXPECT_EQ(configuration.timeoutInterval, 60.0) << c.name;
        EXPECT_EQ(configuration.apiPath.embeddings, "/v1/embeddings") << c.name;
    }
}

TEST(ProviderConfigurationTest, Failures) {
    using Case = ProviderConfigurationError::Case;
    const Entries noKey = std::vector<CustomModelHeaderEntry>{{"Authorization", "x"}};
    const Entries empty = std::vector<CustomModelHeaderEntry>{};
    const std::vector<std::tuple<const char*, CustomModel, Case>> cases = {
        {"Azure without the path", model("AzureOpenAI", "https://a.example/v1", keyed),
         Case::unusableSettings},
        {"Azure with the path in another case",
         model("AzureOpenAI", "https://a.example/Chat/Completions", keyed), Case::unusableSettings},
        {"Azure with nothing before the path", model("AzureOpenAI", "/chat/completions", keyed),
         Case::unusableSettings},
        {"Azure with a base that does not parse",
         model("AzureOpenAI", "https://a b/chat/completions", keyed), Case::unusableSettings},
        {"LocalAI without the path", model("LocalAI", "http://127.0.0.1:8080", keyed),
         Case::unusableSettings},
        {"Ollama with an endpoint that does not parse", model("Ollama", "http://local host", {}),
         Case::unusableSettings},
        {"Ollama with an empty endpoint", model("Ollama", "", {}), Case::unusableSettings},
        {"OpenRouter without headers", model("OpenRouter", "https://o.example", std::nullopt),
         Case::unusableSettings},
        {"Mistral with empty headers", model("MistralAI", "https://m.example", empty),
         Case::unusableSettings},
        {"Perplexity without api-key", model("PerplexityAI", "https://p.example", noKey),
         Case::unusableSettings},
        {"Together with a key of another case",
         model("TogetherAI", "https://t.example",
               std::vector<CustomModelHeaderEntry>{{"API-KEY", "test-key"}}),
         Case::unusableSettings},
        {"Groq without headers", model("Groq", "https://g.example", std::nullopt),
         Case::unusableSettings},
        {"Anthropic is another client", model("Anthropic", "https://x.example", keyed),
         Case::unsupportedProvider},
        {"an unknown provider", model("Nonsense", "https://x.example", keyed),
         Case::unsupportedProvider},
    };
    for (const auto& [name, custom, expected] : cases) {
        try {
            customModelConfiguration(custom);
            ADD_FAILURE() << name;
        } catch (const ProviderConfigurationError& e) {
            EXPECT_EQ(e.errorCase(), expected) << name;
        }
    }
}

TEST(ProviderConfigurationTest, BuiltInRoute) {
    auto plain = builtInConfiguration({"", "org-1", "test-key"});
    EXPECT_EQ(plain.baseURL, "https://api.openai.com");
    EXPECT_EQ(plain.token, "test-key");
    EXPECT_FALSE(plain.organizationIdentifier) << "travels only with a custom host";

    auto custom = builtInConfiguration({"proxy.example:8443", "org-1", "test-key"});
    EXPECT_EQ(custom.baseURL, "https://proxy.example:8443");
    EXPECT_EQ(custom.organizationIdentifier, "org-1");
    EXPECT_EQ(custom.timeoutInterval, 60.0);

    EXPECT_FALSE(builtInConfiguration({"proxy.example", "", "test-key"}).organizationIdentifier);

    try {
        defaultClientConfiguration({"", "", ""});
        ADD_FAILURE();
    } catch (const ProviderConfigurationError& e) {
        EXPECT_EQ(e.errorCase(), ProviderConfigurationError::Case::apiKeyMissing);
    }
    EXPECT_EQ(defaultClientConfiguration({"", "", "test-key"}).token, "test-key");
}

}  // namespace
}  // namespace folvane
