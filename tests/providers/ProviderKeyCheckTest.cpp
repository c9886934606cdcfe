#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "providers/APIErrorResponse.h"
#include "providers/AnthropicAPIError.h"
#include "providers/AnthropicService.h"
#include "providers/CustomModelDefaults.h"
#include "providers/DecodingError.h"
#include "providers/GenerateContentError.h"
#include "providers/GenerativeModel.h"
#include "providers/MistralModelList.h"
#include "providers/OllamaKit.h"
#include "providers/ProviderFormRow.h"
#include "providers/ProviderKeyCheck.h"
#include "support/LoopbackHttpClient.h"
#include "support/LoopbackServer.h"

namespace folvane {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const char* chatAnswer =
    R"({"id":"c1","object":"chat.completion","created":1,"model":"m","choices":[{"index":0,"message":{"role":"assistant","content":"Hi"},"finish_reason":"stop"}]})";
const char* openAIRejection =
    R"({"error":{"message":"Incorrect API key provided: sk-test.","type":"invalid_request_error","param":null,"code":"invalid_api_key"}})";
const char* anthropicAnswer =
    R"({"id":"msg_1","type":"message","model":"claude-3-sonnet-20240229","role":"assistant","content":[{"type":"text","text":"Hello"}],"stop_reason":"end_turn","stop_sequence":null,"usage":{"input_tokens":10,"output_tokens":2}})";
const char* anthropicRejection =
    R"({"type":"error","error":{"type":"authentication_error","message":"invalid x-api-key"}})";
const char* geminiAnswer =
    R"({"candidates":[{"content":{"role":"model","parts":[{"text":"Hi"}]},"finishReason":"STOP","safetyRatings":[]}]})";
const char* ollamaTags =
    R"({"models":[{"name":"llama3:latest","digest":"abc","size":4661224676,"modified_at":"2024-05-01T10:20:30.123456789+02:00"},{"name":"phi3","digest":"def","size":2,"modified_at":"2024-05-01T08:20:30Z"}]})";

std::string geminiError(int code, const std::string& message, const std::string& status,
                        const std::string& reason = "") {
    json error = {{"code", code}, {"message", message}, {"status", status}};
    if (!reason.empty()) {
        error["details"] = {
            {{"@type", "type.googleapis.com/google.rpc.ErrorInfo"},
             {"reason", reason},
             {"domain", "googleapis.com"}},
            {{"@type", "type.googleapis.com/google.rpc.DebugInfo"}, {"reason", "API_KEY_INVALID"}}};
    }
    return json{{"error", error}}.dump();
}

class ProviderKeyCheckTest : public ::testing::Test {
  protected:
    ProviderEndpoints endpoints() const {
        const std::string base = server.baseURL();
        return {base, base, base, base, base, base, base, base};
    }
    ProviderKeyCheck check() const { return ProviderKeyCheck(http, endpoints()); }

    // The row a form would save over its provider's new row, with the key.
    CustomModel formRow(ProviderForm form, const std::string& provider, ProviderFormValues values) {
        CustomModel current = CustomModelDefaults::newRow(provider);
        current.id = 1;
        return providerFormRow(form, current, values, endpoints()).row;
    }

    test::LoopbackServer server;
    std::shared_ptr<HttpClient> http = std::make_shared<test::LoopbackHttpClient>();
};

// Every form's check on the wire: where it goes, what it sends, and that a
// rejection, a malformed answer and a dropped connection each fail it.
TEST_F(ProviderKeyCheckTest, EachFormsCheckSpeaksItsProvidersWireFormat) {
    const std::string host = server.baseURL().substr(std::string("http://").size());
    struct Case {
        std::string label;
        ProviderForm form;
        std::string provider;
        ProviderFormValues values;
        std::string target;
        std::string answer;
        std::string rejection;
        std::string rejectionWords;
        json body;
        std::vector<std::pair<std::string, std::optional<std::string>>> headers;
    };
    const auto chat = [](const std::string& model, const std::string& text) {
        return json{{"model", model},
                    {"messages", {{{"role", "user"}, {"content", text}}}},
                    {"stream", false}};
    };
    const std::string openAIWords = "Incorrect API key provided";
    const std::vector<Case> cases{
        {"azure",
         ProviderForm::azure,
         "AzureOpenAI",
         {"Az", server.baseURL() + "/openai/deployments/d/chat/completions?api-version=2024-02-01",
          "sk-test", "gpt-4", "", true},
         "/openai/deployments/d/chat/completions?api-version=2024-02-01",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("gpt-4", "Hi"),
         {{"api-key", "sk-test"}, {"Authorization", "Bearer not-needed"}}},
        {"openrouter",
         ProviderForm::openRouter,
         "OpenRouter",
         {"OR", "", "sk-test", "openai/gpt-4", "", true},
         "/api/v1/chat/completions",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("openai/gpt-4", "Hi"),
         {{"Authorization", "Bearer sk-test"},
          {"HTTP-Referer", "https://folvane.app"},
          {"X-Title", "Folvane"},
          {"api-key", std::nullopt}}},
        {"groq",
         ProviderForm::groq,
         "Groq",
         {"G", "https://api.groq.com/openai/v1", "sk-test", "mixtral-8x7b-32768", "", true},
         "/openai/v1/chat/completions",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("llama2-70b-4096", "Say hi."),
         {{"Authorization", "Bearer sk-test"}}},
        {"mistral",
         ProviderForm::mistral,
         "MistralAI",
         {"M", host, "sk-test", "mistral-tiny", "8096", true},
         "/v1/chat/completions",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("mistral-small", "Say hi."),
         {{"Authorization", "Bearer sk-test"}, {"api-key", std::nullopt}}},
        {"perplexity",
         ProviderForm::perplexity,
         "PerplexityAI",
         {"P", host, "sk-test", "mixtral-8x7b-instruct", "", true},
         "/chat/completions",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("mistral-7b-instruct", "Say hi."),
         {{"Authorization", "Bearer sk-test"}}},
        {"together",
         ProviderForm::together,
         "TogetherAI",
         {"T", "", "sk-test", "lmsys/vicuna-13b-v1.5", "", true},
         "/v1/chat/completions",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("openchat/openchat-3.5-1210", "Say hi."),
         {{"Authorization", "Bearer sk-test"}}},
        {"custom server",
         ProviderForm::custom,
         "LocalAI",
         {"Mine", server.baseURL() + "/v1/chat/completions", "sk-test", "qwen2.5", "2048", true},
         "/v1/chat/completions",
         chatAnswer,
         openAIRejection,
         openAIWords,
         chat("qwen2.5", "How are you?"),
         {{"Authorization", "Bearer sk-test"}, {"api-key", "sk-test"}}},
        {"anthropic",
         ProviderForm::anthropic,
         "AnthropicAI",
         {"Anthropic", "", "sk-test", "claude-2.1", "", true},
         "/v1/messages",
         anthropicAnswer,
         anthropicRejection,
         "status code 401: invalid x-api-key",
         // The form's model does not change the check.
         {{"model", "claude-3-sonnet-20240229"},
          {"messages", {{{"role", "user"}, {"content", "Hello, Claude"}}}},
          {"max_tokens", 1024},
          {"stream", false}},
         {{"Content-Type", "application/json"},
          {"x-api-key", "sk-test"},
          {"anthropic-version", "2023-06-01"},
          {"anthropic-beta", "messages-2023-12-15"},
          {"Authorization", std::nullopt}}},
        {"google",
         ProviderForm::googleAI,
         "GoogleAI",
         {"Google AI", "", "sk-test", "gemini-1.0-pro", "1000000", true},
         "/v1/models/gemini-1.0-pro:generateContent",
         geminiAnswer,
         geminiError(400, "API key not valid. Please pass a valid API key.", "INVALID_ARGUMENT",
                     "API_KEY_INVALID"),
         "The API key is not valid",
         {{"contents", {{{"role", "user"}, {"parts", {{{"text", "Say hi."}}}}}}}},
         {{"x-goog-api-key", "sk-test"},
          {"x-goog-api-client", "genai-folvane/0.4.8"},
          {"Content-Type", "application/json"}}},
        {"ollama",
         ProviderForm::ollama,
         "Ollama",
         {"Llama", server.baseURL() + "/", "", "llama3", "8096", true},
         "/api/tags",
         ollamaTags,
         R"({"error":"unauthorized"})",
         "The server answered with the status 401.",
         json(),
         {{"Content-Type", "application/json"}}},
    };

    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const CustomModel row = formRow(c.form, c.provider, c.values);

        server.setHandler(test::plainResponse(c.answer));
        EXPECT_NO_THROW(check().checkRow(c.form, row, c.values.apiKey));
        const auto request = server.lastRequest();
        EXPECT_EQ(request.target, c.target);
        EXPECT_EQ(request.method, c.form == ProviderForm::ollama ? "GET" : "POST");
        if (!c.body.is_null()) {
            EXPECT_EQ(json::parse(request.body), c.body);
        }
        for (const auto& [name, value] : c.headers) EXPECT_EQ(request.header(name), value) << name;

        server.setHandler(
            test::plainResponse(c.rejection, c.form == ProviderForm::googleAI ? 400 : 401));
        try {
            check().checkRow(c.form, row, c.values.apiKey);
            ADD_FAILURE() << "a rejected key passed";
        } catch (const std::exception& error) {
            EXPECT_THAT(error.what(), HasSubstr(c.rejectionWords));
        }

        server.setHandler(test::plainResponse("<html>Bad gateway</html>", 200, "text/html"));
        EXPECT_ANY_THROW(check().checkRow(c.form, row, c.values.apiKey)) << "malformed";

        const std::string half = c.answer.substr(0, c.answer.size() / 2);
        server.setHandler(test::chunkedResponse({half}, 200, {}, {}, true));
        EXPECT_ANY_THROW(check().checkRow(c.form, row, c.values.apiKey)) << "dropped";
    }
}

TEST_F(ProviderKeyCheckTest, TheOpenAICheckUsesTheCustomHostOnlyOutsideTheKeyModal) {
    server.setHandler([](const test::RecordedRequest& request, httplib::Response& response) {
        response.set_content(
            request.target == "/v1/models"
                ? R"({"object":"list","data":[{"id":"gpt-4","object":"model","created":1,"owned_by":"openai"}]})"
                : chatAnswer,
            "application/json");
    });
    const std::string host = server.baseURL().substr(std::string("http://").size());
    ProviderEndpoints elsewhere = endpoints();
    elsewhere.openAI = "http://127.0.0.1:1";  // nothing listens there

    const auto viaHost =
        ProviderKeyCheck(http, elsewhere).checkOpenAI({host, "org-x", "sk-test"}, false);
    EXPECT_TRUE(viaHost.supportGPT4);
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].target, "/v1/chat/completions");
    EXPECT_EQ(json::parse(requests[0].body),
              (json{{"model", "gpt-3.5-turbo"},
                    {"messages", {{{"role", "user"}, {"content", "Say hi."}}}},
                    {"stream", false}}));
    EXPECT_EQ(requests[0].header("OpenAI-Organization"), "org-x");
    EXPECT_EQ(requests[1].target, "/v1/models");

    // The key modal sends the token alone to the OpenAI endpoint.
    EXPECT_FALSE(check().checkOpenAI({"127.0.0.1:1", "org-x", "sk-test"}, true).supportGPT4);
    requests = server.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[2].header("OpenAI-Organization"), std::nullopt);
}

TEST_F(ProviderKeyCheckTest, ACustomServerMustAnswerWithAChoiceAndMayGoWithoutAKey) {
    const CustomModel row =
        formRow(ProviderForm::custom, "LocalAI",
                {"Mine", server.baseURL() + "/v1/chat/completions", "", "", "2048", true});
    server.setHandler(test::plainResponse(R"({"choices":[]})"));
    EXPECT_THROW(check().checkRow(ProviderForm::custom, row, ""), std::runtime_error);
    const auto request = server.lastRequest();
    EXPECT_EQ(request.header("api-key"), std::nullopt);
    EXPECT_EQ(json::parse(request.body)["model"], "");
}

TEST_F(ProviderKeyCheckTest, AnthropicFailuresCarryTheStatusAndTheDecodingProblem) {
    const AnthropicService service(http, "sk-test", server.baseURL());
    AnthropicMessageParameter parameter;
    parameter.model = "claude-2.1";
    parameter.messages = {{"user", "Hi"}};
    parameter.stream = true;  // always sent as false
    parameter.temperature = 0.5;

    const auto failure = [&](const std::string& body, int status) {
        server.setHandler(test::plainResponse(body, status));
        try {
            service.createMessage(parameter);
        } catch (const AnthropicAPIError& error) {
            return std::make_pair(error.errorCase(), std::string(error.what()));
        }
        return std::make_pair(AnthropicAPIError::Case::invalidData, std::string("passed"));
    };
    using Case = AnthropicAPIError::Case;
    EXPECT_EQ(failure("<html>oops</html>", 500),
              std::make_pair(Case::responseUnsuccessful, std::string("status code 500")));
    EXPECT_EQ(failure(R"({"id":"m","type":"message"})", 200).first,
              Case::dataCouldNotBeReadMissingData);
    EXPECT_THAT(failure(R"({"id":"m","type":"message"})", 200).second,
                StartsWith("Key 'model' not found: "));
    EXPECT_EQ(failure("not json", 200).first, Case::jsonDecodingFailure);
    const json sent = json::parse(server.lastRequest().body);
    EXPECT_EQ(sent["stream"], false);
    EXPECT_EQ(sent["temperature"], 0.5);
    EXPECT_FALSE(sent.contains("system"));
}

TEST_F(ProviderKeyCheckTest, GeminiErrorsBecomeTheFormsCases) {
    using Case = GenerateContentError::Case;
    struct Row {
        std::string label;
        int status;
        std::string body;
        Case expected;
        std::string words;
    };
    const std::vector<Row> rows{
        {"wrong key", 400,
         geminiError(400, "API key not valid.", "INVALID_ARGUMENT", "API_KEY_INVALID"),
         Case::invalidAPIKey, "not valid"},
        {"refused country", 400,
         geminiError(400, "User location is not supported for the API use.", "FAILED_PRECONDITION"),
         Case::unsupportedUserLocation, "location"},
        {"other error", 503, geminiError(503, "The model is overloaded.", "UNAVAILABLE"),
         Case::internalError, "The model is overloaded."},
        {"no error body", 502, "<html></html>", Case::internalError, "status 502"},
        {"blocked prompt", 200, R"({"promptFeedback":{"blockReason":"SAFETY"}})",
         Case::promptBlocked, "SAFETY"},
        {"stopped early", 200,
         R"({"candidates":[{"content":{"parts":[{"text":"Hi"}]},"finishReason":"RECITATION"}]})",
         Case::responseStoppedEarly, "RECITATION"},
        {"neither key", 200, R"({"usageMetadata":{}})", Case::internalError, "missing"},
    };
    const GenerativeModel model(http, "gemini-1.0-pro", "sk-test", {}, server.baseURL());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        server.setHandler(test::plainResponse(row.body, row.status));
        try {
            model.generateContent("Say hi.");
            ADD_FAILURE() << "passed";
        } catch (const GenerateContentError& error) {
            EXPECT_EQ(error.errorCase(), row.expected);
            EXPECT_THAT(error.what(), HasSubstr(row.words));
        }
    }

    server.setHandler(test::plainResponse(
        R"({"candidates":[{"content":{"parts":[{"text":"Hi"}]},"finishReason":"SOMETHING_NEW"}]})"));
    EXPECT_THROW(model.generateContent("x"), GenerateContentError)
        << "an unknown finish reason is not STOP";

    EXPECT_EQ(GenerativeModel(http, "tunedModels/mine", "k").modelResourceName(),
              "tunedModels/mine");
    GenerativeRequestOptions beta;
    beta.apiVersion = "v1beta";
    server.setHandler(test::plainResponse(geminiAnswer));
    EXPECT_EQ(GenerativeModel(http, "gemini-1.5-pro-latest", "k", beta, server.baseURL() + "/")
                  .generateContent("x")
                  .text(),
              "Hi");
    EXPECT_EQ(server.lastRequest().target, "/v1beta/models/gemini-1.5-pro-latest:generateContent");
}

TEST_F(ProviderKeyCheckTest, OllamaReadsDatesWithAndWithoutFractionsAndRefusesOthers) {
    using namespace std::chrono;
    server.setHandler(test::plainResponse(ollamaTags));
    const auto models = OllamaKit(http, server.baseURL()).models().models;
    ASSERT_EQ(models.size(), 2u);
    EXPECT_EQ(models[0].size, 4661224676);
    // 10:20:30.123456789 at +02:00 and 08:20:30Z are the same second.
    EXPECT_EQ(floor<seconds>(models[0].modifiedAt), floor<seconds>(models[1].modifiedAt));
    EXPECT_EQ(duration_cast<milliseconds>(models[0].modifiedAt - models[1].modifiedAt),
              milliseconds(123));

    server.setHandler(test::plainResponse(R"({"models":[]})"));
    EXPECT_TRUE(check().ollamaModels(server.baseURL()).empty());

    server.setHandler(test::plainResponse(
        R"({"models":[{"name":"x","digest":"d","size":1,"modified_at":"yesterday"}]})"));
    try {
        OllamaKit(http, server.baseURL()).models();
        ADD_FAILURE() << "a date that does not read passed";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.detail(), "Cannot decode date string yesterday");
    }
    for (const char* text : {"2024-05-01T10:20:30", "2024-13-01T10:20:30Z", "2024-05-01 10:20:30Z",
                             "2024-05-01T10:20:30.Z", "2024-05-01T10:20:30+2:00"}) {
        EXPECT_EQ(parseInternetDate(text), std::nullopt) << text;
    }
    EXPECT_THROW(OllamaKit(http, "http://127.0.0.1:1").models(), HttpTransportError);
}

TEST_F(ProviderKeyCheckTest, TheMistralListSendsTheKeyAndKeepsIdsAndDates) {
    server.setHandler(test::plainResponse(
        R"({"object":"list","data":[{"id":"mistral-tiny","object":"model","created":1700000000},{"id":"mistral-large-latest","created":1710000000}]})"));
    const auto models = check().mistralModels("sk-test");
    EXPECT_EQ(models, (std::vector<MistralModel>{{"mistral-tiny", 1700000000},
                                                 {"mistral-large-latest", 1710000000}}));
    const auto request = server.lastRequest();
    EXPECT_EQ(request.target, "/v1/models");
    EXPECT_EQ(request.header("Authorization"), "Bearer sk-test");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(MistralModelList::fromSetting(MistralModelList::toJson(models)), models);

    server.setHandler(test::plainResponse(openAIRejection, 401));
    EXPECT_THROW(check().mistralModels("sk-test"), APIErrorResponse);
}

TEST(ProviderFormTest, EachProviderOpensItsForm) {
    const std::vector<std::pair<std::string, ProviderForm>> cases{
        {"OpenAI", ProviderForm::openAI},
        {"AzureOpenAI", ProviderForm::azure},
        {"OpenRouter", ProviderForm::openRouter},
        {"MistralAI", ProviderForm::mistral},
        {"PerplexityAI", ProviderForm::perplexity},
        {"TogetherAI", ProviderForm::together},
        {"Groq", ProviderForm::groq},
        {"Ollama", ProviderForm::ollama},
        {"LocalAI", ProviderForm::custom},
        {"AnthropicAI", ProviderForm::anthropic},
        {"Anthropic", ProviderForm::custom},
        {"GoogleAI", ProviderForm::googleAI},
        {"ollama", ProviderForm::custom},
        {"", ProviderForm::custom},
    };
    for (const auto& [provider, form] : cases)
        EXPECT_EQ(providerFormFor(provider), form) << provider;
}

TEST(ProviderFormTest, EachFormSavesItsEndpointContextAndKeyHeader) {
    ProviderEndpoints endpoints;
    struct Case {
        ProviderForm form;
        std::string provider;
        std::string endpointField;
        std::string modelId;
        std::string endpoint;
        int context;
        std::vector<std::string> headerKeys;
    };
    const std::vector<Case> cases{
        {ProviderForm::azure,
         "AzureOpenAI",
         "https://x/chat/completions",
         "gpt-4",
         "https://x/chat/completions",
         8192,
         {"X-Team", "api-key"}},
        {ProviderForm::openRouter,
         "OpenRouter",
         "",
         "openai/gpt-4",
         "https://openrouter.ai/api",
         2048,
         {"X-Team", "api-key", "HTTP-Referer", "X-Title"}},
        {ProviderForm::mistral,
         "MistralAI",
         "api.mistral.ai",
         "mistral-tiny",
         "https://api.mistral.ai",
         8096,
         {"X-Team", "api-key"}},
        {ProviderForm::perplexity,
         "PerplexityAI",
         "",
         "pplx-7b-chat",
         "https://api.perplexity.ai",
         8096,
         {"X-Team", "api-key"}},
        {ProviderForm::together,
         "TogetherAI",
         "x",
         "openchat/openchat-3.5-1210",
         "https://api.together.xyz",
         8096,
         {"X-Team", "api-key"}},
        {ProviderForm::anthropic,
         "AnthropicAI",
         "x",
         "claude-2.1",
         "https://api.anthropic.com",
         100000,
         {"X-Team", "x-api-key"}},
        {ProviderForm::ollama,
         "Ollama",
         "http://box:11434",
         "llama3",
         "http://box:11434",
         8096,
         {"X-Team"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.provider);
        CustomModel current = CustomModelDefaults::newRow(c.provider);
        current.headers = std::vector<CustomModelHeaderEntry>{{"X-Team", "docs"}};
        const auto saved = providerFormRow(
            c.form, current, {"N", c.endpointField, "sk-test", c.modelId, "", true}, endpoints);
        EXPECT_EQ(saved.row.apiEndpoint, c.endpoint);
        EXPECT_EQ(saved.row.contextLength, c.context);
        std::vector<std::string> keys;
        for (const auto& header : *saved.row.headers) keys.push_back(header.key);
        EXPECT_EQ(keys, c.headerKeys);
    }
}

}  // namespace
}  // namespace folvane
