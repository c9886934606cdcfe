#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "providers/APIErrorResponse.h"
#include "providers/AudioQueries.h"
#include "providers/ChatQuery.h"
#include "providers/ChatResult.h"
#include "providers/ChatStreamResult.h"
#include "providers/Configuration.h"
#include "providers/DecodingError.h"
#include "providers/EmbeddingsQuery.h"
#include "providers/ModelsResult.h"
#include "providers/URLText.h"

namespace folvane {
namespace {

using nlohmann::json;

TEST(WireTypesTest, ChatQueryWritesOnlyThePresentKeys) {
    ChatQuery plain;
    plain.model = "gpt-test";
    plain.messages = {Chat{ChatRole::user, "hi", {}, {}}};
    EXPECT_EQ(
        toJson(plain),
        json::parse(
            R"({"model":"gpt-test","messages":[{"role":"user","content":"hi"}],"stream":false})"));

    ChatQuery full = plain;
    full.temperature = 0.7;
    full.topP = 1;
    full.maxTokens = 4096;
    full.presencePenalty = 0.5;
    full.frequencyPenalty = 0;
    full.stream = true;
    EXPECT_EQ(toJson(full), json::parse(R"({"model":"gpt-test","messages":[{"role":"user",
        "content":"hi"}],"stream":true,"temperature":0.7,"top_p":1.0,"max_tokens":4096,
        "presence_penalty":0.5,"frequency_penalty":0.0})"));
}

TEST(WireTypesTest, ChatEncoding) {
    struct Case {
        const char* name;
        Chat chat;
        const char* expected;
    };
    const std::vector<Case> cases = {
        {"string content",
         {ChatRole::system, "be brief", {}, {}},
         R"({"role":"system","content":"be brief"})"},
        {"no content", {ChatRole::user, std::nullopt, {}, {}}, R"({"role":"user"})"},
        {"function call without content writes null",
         {ChatRole::assistant, std::nullopt, {}, ChatFunctionCall{"lookup", "{}"}},
         R"({"role":"assistant","content":null,"function_call":{"name":"lookup","arguments":"{}"}})"},
        {"a function result",
         {ChatRole::function, "42", "lookup", {}},
         R"({"role":"function","content":"42","name":"lookup"})"},
        {"a list of items",
         {ChatRole::user,
          std::vector<ChatContentItem>{ChatContentItem::textItem("what is this?"),
                                       ChatContentItem::imageItem("data:image/jpeg;base64,AAA=")},
          {},
          {}},
         R"({"role":"user","content":[{"type":"text","text":"what is this?"},{"type":"image_url","image_url":{"url":"data:image/jpeg;base64,AAA="}}]})"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(toJson(c.chat), json::parse(c.expected)) << c.name;
        EXPECT_EQ(chatFromJson(toJson(c.chat)), c.chat) << c.name;
    }
}

TEST(WireTypesTest, ChatInputContentReadsAStringOrAList) {
    EXPECT_EQ(chatInputContentFromJson(json("hi")), ChatInputContent("hi"));
    EXPECT_EQ(chatInputContentFromJson(json::parse(R"([{"type":"text","text":"a"}])")),
              ChatInputContent(std::vector<ChatContentItem>{ChatContentItem::textItem("a")}));
    for (const char* bad : {"42", "{}", R"([{"text":"no type"}])", "[1]", "true"}) {
        try {
            chatInputContentFromJson(json::parse(bad));
            ADD_FAILURE() << bad;
        } catch (const DecodingError& e) {
            EXPECT_EQ(e.detail(), "Expected a string or an array of ChatContentItem") << bad;
        }
    }
}

TEST(WireTypesTest, APIErrorResponseDecoding) {
    struct Case {
        const char* body;
        std::optional<APIError> expected;
    };
    const std::vector<Case> cases = {
        {R"({"error":{"message":"bad key","type":"invalid_request_error","param":null,"code":"invalid_api_key"}})",
         APIError{"bad key", "invalid_request_error", std::nullopt, "invalid_api_key"}},
        {R"({"error":{"message":["first","second"]}})", APIError{"first\nsecond", {}, {}, {}}},
        {R"({"error":{"message":"x","code":429}})", std::nullopt},
        {R"({"error":{"message":42}})", std::nullopt},
        {R"({"error":{"message":["a",1]}})", std::nullopt},
        {R"({"error":{"type":"no message"}})", std::nullopt},
        {R"({"message":"no envelope"})", std::nullopt},
        {"Internal Server Error", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) {
        auto decoded = APIErrorResponse::tryDecode(c.body);
        ASSERT_EQ(decoded.has_value(), c.expected.has_value()) << c.body;
        if (decoded) {
            EXPECT_EQ(decoded->error(), *c.expected) << c.body;
            EXPECT_EQ(std::string(decoded->what()), c.expected->message);
        }
    }
    try {
        APIErrorResponse::decode(R"({"error":{"message":{}}})");
        ADD_FAILURE();
    } catch (const DecodingError& e) {
        EXPECT_EQ(e.detail(), "message: expected String or [String]");
    }
}

TEST(WireTypesTest, ResultsDecodeRequiredAndOptionalFields) {
    auto chat = ChatResult::decode(
        R"({"id":"c1","object":"chat.completion","created":1700000000,"model":"m","choices":[{"index":0,"message":{"role":"assistant","content":"Hi"},"finish_reason":"stop"}],"usage":{"prompt_tokens":3,"completion_tokens":1,"total_tokens":4}})");
    EXPECT_EQ(chat.choices.at(0).message.textContent(), "Hi");
    EXPECT_EQ(chat.usage, (ChatResult::Usage{3, 1, 4}));

    auto bare =
        ChatResult::decode(R"({"choices":[{"message":{"role":"assistant","content":null}}]})");
    EXPECT_FALSE(bare.id);
    EXPECT_FALSE(bare.usage);
    EXPECT_FALSE(bare.choices.at(0).message.content);

    auto stream = ChatStreamResult::decode(
        R"({"choices":[{"delta":{"role":"assistant","function_call":{"name":"f"}},"finish_reason":null}]})");
    EXPECT_EQ(stream.choices.at(0).delta.role, ChatRole::assistant);
    EXPECT_EQ(stream.choices.at(0).delta.functionCall->name, "f");

    auto models = ModelsResult::decode(
        R"({"object":"list","data":[{"id":"gpt-4","object":"model","created":1687882411,"owned_by":"openai"}]})");
    EXPECT_EQ(models.data.at(0), (ModelResult{"gpt-4", 1687882411, "model", "openai"}));

    auto embeddings = EmbeddingsResult::decode(
        R"({"object":"list","data":[{"object":"embedding","embedding":[0.5,-1,2e-3],"index":0}],"model":"e","usage":{"prompt_tokens":2,"total_tokens":2}})");
    EXPECT_EQ(embeddings.data.at(0).embedding, (std::vector<double>{0.5, -1, 0.002}));

    EXPECT_EQ(AudioTranscriptionResult::decode(R"({"text":"hello"})").text, "hello");
}

TEST(WireTypesTest, MalformedResultsFail) {
    struct Case {
        const char* name;
        std::function<void()> decode;
        DecodingError::Kind kind;
    };
    const std::vector<Case> cases = {
        {"chat without choices", [] { ChatResult::decode(R"({"id":"x"})"); },
         DecodingError::Kind::keyNotFound},
        {"chat with an unknown role",
         [] { ChatResult::decode(R"({"choices":[{"message":{"role":"robot"}}]})"); },
         DecodingError::Kind::dataCorrupted},
        {"usage missing a count",
         [] { ChatResult::decode(R"({"choices":[],"usage":{"prompt_tokens":1}})"); },
         DecodingError::Kind::keyNotFound},
        {"stream choice without delta", [] { ChatStreamResult::decode(R"({"choices":[{}]})"); },
         DecodingError::Kind::keyNotFound},
        {"stream content of the wrong type",
         [] { ChatStreamResult::decode(R"({"choices":[{"delta":{"content":5}}]})"); },
         DecodingError::Kind::typeMismatch},
        {"model created as text",
         [] {
             ModelsResult::decode(
                 R"({"object":"list","data":[{"id":"a","object":"model","created":"1","owned_by":"o"}]})");
         },
         DecodingError::Kind::typeMismatch},
        {"fractional index",
         [] { ChatResult::decode(R"({"choices":[{"index":0.5,"message":{"role":"user"}}]})"); },
         DecodingError::Kind::typeMismatch},
        {"not JSON", [] { ChatResult::decode("<html>"); }, DecodingError::Kind::dataCorrupted},
        {"an array", [] { EmbeddingsResult::decode("[]"); }, DecodingError::Kind::typeMismatch},
    };
    for (const auto& c : cases) {
        try {
            c.decode();
            ADD_FAILURE() << c.name;
        } catch (const DecodingError& e) {
            EXPECT_EQ(e.kind(), c.kind) << c.name << ": " << e.detail();
        }
    }
}

TEST(WireTypesTest, MultipartBodyByteForByte) {
    AudioTranscriptionQuery query{std::string("ID3\0\x01", 5) + "bytes",
                                  "recording.mp3",
                                  "whisper-1",
                                  std::nullopt,
                                  0.5,
                                  "en"};
    const std::string expected =
        std::string(
            "--B\r\n"
            "Content-Disposition: form-data; name=\"file\"; filename=\"recording.mp3\"\r\n"
            "Content-Type: audio/mpeg\r\n\r\n"
            "ID3") +
        std::string("\0\x01", 2) +
        "bytes\r\n"
        "--B\r\n"
        "Content-Disposition: form-data; name=\"model\"\r\n\r\n"
        "whisper-1\r\n"
        "--B\r\n"
        "Content-Disposition: form-data; name=\"temperature\"\r\n\r\n"
        "0.5\r\n"
        "--B\r\n"
        "Content-Disposition: form-data; name=\"language\"\r\n\r\n"
        "en\r\n"
        "--B--\r\n";
    EXPECT_EQ(query.multipartBody("B"), expected);
    EXPECT_EQ(query.multipartBody("B").find("prompt"), std::string::npos);
}

TEST(WireTypesTest, DecimalText) {
    const std::vector<std::pair<double, std::string>> cases = {
        {0.0, "0.0"}, {1.0, "1.0"},   {0.5, "0.5"},    {0.1, "0.1"},
        {0.7, "0.7"}, {-2.0, "-2.0"}, {1e-05, "1e-05"}};
    for (const auto& [value, text] : cases) EXPECT_EQ(decimalText(value), text) << value;
}

TEST(WireTypesTest, ConfigurationForHost) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"api.example.com", "https://api.example.com"},
        {"localhost:8080", "https://localhost:8080"},
        {"my host", "https://api.openai.com"},
        {"h\xC3\xA9st", "https://api.openai.com"},
        {"https://api.example.com", "https://api.example.com"},
        {"http://127.0.0.1:8080", "http://127.0.0.1:8080"},
        {"http://localhost", "http://localhost"},
        {"http://[::1]:9000", "http://[::1]:9000"},
        // Plain HTTP elsewhere would carry the key in clear.
        {"http://api.example.com", "https://api.openai.com"},
        {"http://localhost.example.com", "https://api.openai.com"},
        {"http://127.0.0.10:80", "https://api.openai.com"},
    };
    for (const auto& [host, baseURL] : cases) {
        auto configuration = Configuration::forHost("test-key", "org-1", host, 60);
        EXPECT_EQ(configuration.baseURL, baseURL) << host;
        EXPECT_EQ(configuration.apiPath, APIPathConfiguration{});
        EXPECT_TRUE(configuration.customHeaders.empty());
    }
}

TEST(WireTypesTest, URLValidity) {
    for (const char* good :
         {"https://a.example", "http://127.0.0.1:11434",
          "https://x.openai.azure.com/openai/deployments/d?api-version=2024-02-01",
          "https://[::1]:8080/v1", "https://a/%20b#frag", "localhost:11434"}) {
        EXPECT_TRUE(isValidURL(good)) << good;
    }
    for (const char* bad :
         {"", "https://a b", "https://a/%zz", "https://a/%2", "https://a/\"q\"", "https://a/{x}",
          "https://a/#1#2", "https://a/[x]", "https://a/\xC3\xA9", "https://a/\\x"}) {
        EXPECT_FALSE(isValidURL(bad)) << bad;
    }
}

}  // namespace
}  // namespace folvane
