#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "chat/AppChatServiceError.h"
#include "providers/APIErrorResponse.h"
#include "providers/GPTEncoder.h"
#include "store/AppPreferences.h"
#include "store/CustomModelHelper.h"
#include "support/LoopbackHttpClient.h"
#include "support/LoopbackServer.h"
#include "support/SseScript.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using test::LoopbackServer;
using test::SseScript;

class ChatStreamTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    LoopbackServer server;
    AppChatService service{
        db, preferences, std::make_shared<test::LoopbackHttpClient>(),
        std::make_shared<GPTEncoder>(std::filesystem::path(test::resourceDir()))};

    void SetUp() override {
        preferences.setCustomHost(server.baseURL().substr(std::string("http://").size()));
        SseScript script;
        script.content("Hi").finish("stop").done();
        server.setHandler(test::chunkedResponse(script.pieces()));
    }

    static Message message(const std::string& role, const std::string& content) {
        Message m;
        m.conversationId = 1;
        m.role = role;
        m.content = content;
        return m;
    }

    // Runs one pass to its end and returns the body the server received.
    json sentBody(const Conversation& conversation, const std::vector<Message>& messages) {
        std::string text;
        service.chatStream("Use the context.", messages, conversation,
                           [&](const ChatStreamResult& chunk) {
                               if (!chunk.choices.empty() && chunk.choices[0].delta.content) {
                                   text += *chunk.choices[0].delta.content;
                               }
                           },
                           {});
        EXPECT_EQ(text, "Hi");
        return json::parse(server.lastRequest().body);
    }
};

TEST_F(ChatStreamTest, TheQueryOfATurnFollowsTheRoute) {
    CustomModel ollama;
    ollama.provider = "Ollama";
    ollama.name = "local";
    ollama.apiEndpoint = server.baseURL();
    ollama.modelId = "llama3";
    ollama.contextLength = 4096;
    ollama.headers = std::vector<CustomModelHeaderEntry>{};
    const int64_t ollamaId = CustomModelHelper(db).insert(ollama);

    Message picture = message("user", "What is in this picture?");
    picture.imageURLs = {"https://example.com/chart.png"};

    const std::vector<Message> hello{message("user", "Hello")};
    const std::vector<Message> helloAndPicture{message("user", "Hello"), picture};
    const std::vector<Message> pictureOnly{picture};
    struct Case {
        std::string name;
        int64_t customModelId;
        double presence, frequency;
        std::vector<Message> messages;
        const char* expected;  // the keys besides messages and stream; any other is absent
    };
    const std::vector<Case> cases{
        {"built-in, penalties set", 0, 0.5, 0.25, hello,
         R"({"model":"gpt-4","temperature":0.3,"presence_penalty":0.5,"frequency_penalty":0.25})"},
        {"built-in, one penalty at 0", 0, 0, 0.25, hello,
         R"({"model":"gpt-4","temperature":0.3,"frequency_penalty":0.25})"},
        {"built-in, no penalties", 0, 0, -1, hello, R"({"model":"gpt-4","temperature":0.3})"},
        {"custom model", ollamaId, 0.5, 0.25, hello, R"({"model":"gpt-4","temperature":0.3})"},
        {"image turn", 0, 0, 0, helloAndPicture,
         R"({"model":"gpt-4-vision-preview","temperature":0.3,"max_tokens":4096,)"
         R"("presence_penalty":0.0,"frequency_penalty":0.0})"},
        {"image turn, custom model", ollamaId, 0.5, 0.25, pictureOnly,
         R"({"model":"gpt-4-vision-preview","temperature":0.3,"max_tokens":4096,)"
         R"("presence_penalty":0.5,"frequency_penalty":0.25})"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Conversation conversation;
        conversation.id = 1;
        conversation.model = "gpt-4";
        conversation.temperature = 0.3;
        conversation.customModelId = c.customModelId;
        conversation.presencePenalty = c.presence;
        conversation.frequencyPenalty = c.frequency;
        json body = sentBody(conversation, c.messages);
        EXPECT_EQ(server.lastRequest().target, "/v1/chat/completions");
        EXPECT_EQ(body.at("stream"), true);
        const json messages = body.at("messages");
        ASSERT_EQ(messages.size(), c.messages.size() + 1);
        EXPECT_EQ(messages[0].at("role"), "system");
        EXPECT_EQ(messages[0].at("content"), "Use the context.");
        body.erase("stream");
        body.erase("messages");
        EXPECT_EQ(body, json::parse(c.expected));
    }
}

TEST_F(ChatStreamTest, RouteAndBudgetFailuresComeBeforeAnyRequest) {
    const auto ignore = [](const ChatStreamResult&) {};
    Conversation missingModel;
    missingModel.customModelId = 4242;
    EXPECT_THROW(
        {
            try {
                service.chatStream("x", {message("user", "Hello")}, missingModel, ignore, {});
            } catch (const AppChatServiceError& error) {
                EXPECT_EQ(error.errorCase(), AppChatServiceError::Case::initError);
                throw;
            }
        },
        AppChatServiceError);
    EXPECT_THROW(service.chatStream("x", {}, Conversation{}, ignore, {}), AppChatServiceError);
    EXPECT_TRUE(server.requests().empty());
}

}  // namespace
}  // namespace folvane
