#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/CliUser.h"
#include "support/LoopbackServer.h"

namespace folvane {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

const char* chatAnswer =
    R"({"id":"c1","object":"chat.completion","created":1,"model":"m","choices":[{"index":0,"message":{"role":"assistant","content":"Fine"},"finish_reason":"stop"}]})";

class ModelsCheckCliTest : public test::CliUser {
  protected:
    std::string add(const std::vector<std::string>& arguments) {
        std::vector<std::string> command = {"models", "add"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto added = cli(command);
        EXPECT_EQ(added.exitCode, 0) << added.err;
        return added.out.substr(0, added.out.find('\n'));
    }
    json listed(const std::string& id) {
        for (const auto& row : jsonLines(cli({"models", "list", "--json"}).out)) {
            if (std::to_string(row["id"].get<int64_t>()) == id) return row;
        }
        return json();
    }
    json settings() { return json::parse(test::readFile(configDir + "/settings.json")); }

    test::LoopbackServer server;
};

TEST_F(ModelsCheckCliTest, ACheckThatPassesSavesTheKeyAndOneThatFailsSaysWhy) {
    const std::string id = add({"LocalAI", "--endpoint", server.baseURL() + "/v1/chat/completions",
                                "--model", "qwen2.5", "--context", "8192"});
    struct Case {
        std::string label;
        int status;
        std::string body;
        std::string words;
    };
    const std::vector<Case> failures{
        {"rejected", 401,
         R"({"error":{"message":"Incorrect API key provided.","type":"invalid_request_error","param":null,"code":"invalid_api_key"}})",
         "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: "
         "Incorrect API key provided."},
        {"quota", 429,
         R"({"error":{"message":"You exceeded your current quota, please check your plan and billing details.","type":"insufficient_quota","param":null,"code":null}})",
         "Error: You exceeded your current quota, please check your plan and billing details."},
        {"malformed", 200, "<html></html>", "isn't in the correct format"},
    };
    for (const auto& c : failures) {
        SCOPED_TRACE(c.label);
        server.setHandler(test::plainResponse(c.body, c.status));
        const auto checked = cli({"models", "check", id, "--api-key-stdin"}, "sk-test\n");
        EXPECT_EQ(checked.exitCode, 1);
        EXPECT_THAT(checked.err, HasSubstr(c.words));
        EXPECT_EQ(listed(id)["headers"], json::array()) << "nothing is saved";
    }

    server.setHandler(test::plainResponse(chatAnswer));
    const auto checked = cli({"models", "check", id, "--api-key-stdin"}, "  sk-test \n");
    EXPECT_EQ(checked.exitCode, 0) << checked.err;
    EXPECT_THAT(checked.out, HasSubstr("The key works."));
    EXPECT_EQ(listed(id)["headers"], json{"api-key"});
    const auto request = server.lastRequest();
    EXPECT_EQ(request.header("api-key"), "sk-test");
    EXPECT_EQ(json::parse(request.body),
              (json{{"model", "qwen2.5"},
                    {"messages", {{{"role", "user"}, {"content", "How are you?"}}}},
                    {"stream", false}}));
    EXPECT_EQ(settings()["customModelId"].get<int64_t>(), std::stoll(id))
        << "the first checked row is the default";
}

TEST_F(ModelsCheckCliTest, AnOllamaCheckReadsTheServersModels) {
    server.setHandler(test::plainResponse(
        R"({"models":[{"name":"llama3","digest":"d","size":1,"modified_at":"2024-05-01T08:20:30.5Z"}]})"));
    const std::string id = add({"Ollama", "--endpoint", server.baseURL(), "--model", "llama3"});
    const auto checked = cli({"models", "check", id});
    EXPECT_EQ(checked.exitCode, 0) << checked.err;
    EXPECT_THAT(checked.out, HasSubstr("The endpoint works."));
    EXPECT_EQ(server.lastRequest().target, "/api/tags");
    EXPECT_EQ(settings()["ollamaModels"], json::parse(R"([{"name":"llama3"}])"));

    const std::string gone = add({"Ollama", "--endpoint", "http://127.0.0.1:1"});
    const auto failed = cli({"models", "check", gone});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(failed.err, HasSubstr("Failed to validate the Ollama API Endpoint."));
}

TEST_F(ModelsCheckCliTest, ModelsWithoutAKeyOrRowAreNotChecked) {
    // Anthropic and Google AI have forms but no entry in the Add menu.
    const std::string anthropic = add({"anthropicai", "--model", "claude-2.1"});
    const json row = listed(anthropic);
    EXPECT_EQ(row["provider"], "AnthropicAI");
    EXPECT_EQ(row["endpoint"], "https://api.anthropic.com");
    EXPECT_EQ(row["context"], 100000);
    EXPECT_EQ(listed(add({"GoogleAI"}))["model"], "gemini-1.0-pro");

    const auto keyless = cli({"models", "check", anthropic});
    EXPECT_EQ(keyless.exitCode, 1);
    EXPECT_THAT(keyless.err, HasSubstr("--api-key-stdin"));
    EXPECT_EQ(cli({"models", "check", "99"}).exitCode, 1);
    EXPECT_EQ(cli({"models", "check"}).exitCode, 2);
}

}  // namespace
}  // namespace folvane
