#include <gtest/gtest.h>

#include <set>

#include "providers/TogetherModels.h"
#include "providers/TokenHelper.h"

namespace folvane {
namespace {

using json = nlohmann::json;

struct LimitCase {
    const char* model;
    const char* provider;
    int limit;
};

TEST(TokenHelperTest, LimitsGoByProviderFirstThenModel) {
    const LimitCase cases[] = {
        // Built-in models go by the model alone (one row per rule, not per model).
        {"gpt-4", "OpenAI", 8192},
        {"gpt-4-32k-0314", "OpenAI", 32768},
        {"gpt-3.5-turbo-0125", "OpenAI", 16384},
        {"gpt-3.5-turbo", "OpenAI", 4096},
        {"gpt-3.5-turbo-0613", "OpenAI", 4096},
        {"no-such-model", "OpenAI", 2048},
        {"gpt-4", "AzureOpenAI", 8192},
        {"gpt-4", "Ollama", 8192},
        {"llama2", "LocalAI", 2048},
        {"", "", 2048},
        // The provider decides before the model.
        {"gpt-4", "Groq", 32768},
        {"llama2-70b-4096", "Groq", 4096},
        {"codellama-34b-instruct", "PerplexityAI", 16384},
        {"pplx-7b-chat", "PerplexityAI", 8192},
        {"gpt-4", "PerplexityAI", 4096},
        {"claude-3-opus-20240229", "Anthropic", 200000},
        {"claude-2.1", "Anthropic", 100000},
        {"gpt-4", "GoogleAI", 1000000},
        {"mistralai/Mixtral-8x7B-Instruct-v0.1", "TogetherAI", 32768},
        {"togethercomputer/guanaco-7b", "TogetherAI", 2048},
        {"gpt-4", "TogetherAI", 2048},
        // OpenRouter with an empty catalogue uses its fixed table.
        {"openai/gpt-4-0314", "OpenRouter", 8192},
        {"openai/gpt-4-32k", "OpenRouter", 32768},
        {"openai/gpt-3.5-turbo-0301", "OpenRouter", 4096},
        {"anthropic/claude-v1-100k", "OpenRouter", 100000},
        {"gpt-4", "OpenRouter", 4096},
        // Provider names match exactly.
        {"gpt-4", "openrouter", 8192},
        {"pplx-7b-chat", "Perplexity", 2048},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(tokenLimit(c.model, c.provider), c.limit) << c.model << " / " << c.provider;
    }
}

TEST(TokenHelperTest, AStoredOpenRouterCatalogueAloneAnswersForOpenRouter) {
    const json catalogue = json::parse(R"([
        {"id": "openai/gpt-4", "name": "GPT-4", "context_length": 9000,
         "pricing": {"prompt": "0.00003", "completion": 0.00006}},
        {"id": "mistralai/mixtral-8x7b", "name": "Mixtral", "context_length": 32000,
         "pricing": {"prompt": "0", "completion": "0"}}
    ])");
    EXPECT_EQ(tokenLimit("openai/gpt-4", "OpenRouter", catalogue), 9000);
    EXPECT_EQ(tokenLimit("mistralai/mixtral-8x7b", "OpenRouter", catalogue), 32000);
    // Missing from the catalogue: 4096, whatever the fixed table says.
    EXPECT_EQ(tokenLimit("anthropic/claude-2", "OpenRouter", catalogue), 4096);
    // Other providers never read it.
    EXPECT_EQ(tokenLimit("mistralai/mixtral-8x7b", "OpenAI", catalogue), 2048);
    EXPECT_EQ(tokenLimit("anthropic/claude-2", "OpenRouter", json::array()), 100000);
}

struct PriceCase {
    const char* model;
    double input;
    double output;
};

TEST(TokenHelperTest, PricesMatchTheModelExactlyAndSplitByRole) {
    const PriceCase cases[] = {
        {"gpt-3.5-turbo", 0.0000015, 0.000002},
        {"gpt-3.5-turbo-16k-0613", 0.000003, 0.000004},
        {"gpt-3.5-turbo-0125", 0.0000005, 0.0000015},
        {"gpt-4-0314", 0.00003, 0.00006},
        {"gpt-4-0125-preview", 0.00001, 0.00003},
        {"openai/gpt-4-0314", 0.00003, 0.00006},
        {"openai/gpt-4-32k", 0.00006, 0.00012},
        {"anthropic/claude-2", 0.00001102, 0.00003268},
        {"google/palm-2-codechat-bison", 0.000002, 0.000002},
        {"meta-llama/llama-2-70b-chat", 0.000016, 0.000016},
        {"no-such-model", 0.0, 0.0},
        {"GPT-4", 0.0, 0.0},
        {"gpt-4 ", 0.0, 0.0},
        {"anthropic/claude-instant-v1-100k", 0.0, 0.0},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(tokenPrice(c.model, "assistant"), c.output) << c.model;
        for (const char* role : {"user", "system", "tool", ""}) {
            EXPECT_DOUBLE_EQ(tokenPrice(c.model, role), c.input) << c.model << " / " << role;
        }
    }
}

TEST(TokenHelperTest, TheTogetherCatalogueAgreesWithTheLimitsAndIsFoundById) {
    std::set<std::string_view> ids;
    for (const auto& model : togetherModels()) {
        EXPECT_TRUE(ids.insert(model.id).second) << "twice: " << model.id;
        EXPECT_EQ(tokenLimit(model.id, "TogetherAI"), model.contextLength) << model.id;
    }
    EXPECT_FALSE(ids.empty());
    ASSERT_NE(findTogetherModel("HuggingFaceH4/zephyr-7b-beta"), nullptr);
    EXPECT_EQ(findTogetherModel("HuggingFaceH4/zephyr-7b-beta")->displayName, "Zephyr-7B-ß");
    EXPECT_EQ(findTogetherModel("openchat/openchat-3.5"), nullptr);
}

}  // namespace
}  // namespace folvane
