#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>

#include "platform/CurlHttpClient.h"
#include "providers/APIErrorResponse.h"
#include "providers/DecodingError.h"
#include "providers/OpenAI.h"
#include "providers/OpenAIError.h"
#include "providers/OpenAISettings.h"
#include "providers/WireFixtures.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using nlohmann::json;
using test::LoopbackServer;
using namespace std::chrono_literals;

const char* chatAnswer =
    R"({"id":"c1","object":"chat.completion","created":1,"model":"gpt-test","choices":[{"index":0,"message":{"role":"assistant","content":"Hi"},"finish_reason":"stop"}],"usage":{"prompt_tokens":3,"completion_tokens":1,"total_tokens":4}})";
const char* errorBody =
    R"({"error":{"message":"Incorrect API key provided: test-key.","type":"invalid_request_error","param":null,"code":"invalid_api_key"}})";

ChatQuery question() {
    ChatQuery query;
    query.model = "gpt-test";
    query.messages = {Chat{ChatRole::system, "be brief", {}, {}},
                      Chat{ChatRole::user, "hi", {}, {}}};
    query.temperature = 0.5;
    return query;
}

// What a stream delivered: the text of each event, then the error if any.
struct StreamOutcome {
    std::vector<std::string> contents;
    std::exception_ptr error;

    std::string errorText() const {
        if (!error) return "";
        try {
            std::rethrow_exception(error);
        } catch (const std::exception& e) {
            return e.what();
        }
    }
};

// Passes every request on to the real client, keeping what it was handed.
class RecordingHttpClient : public HttpClient {
  public:
    explicit RecordingHttpClient(std::shared_ptr<HttpClient> inner) : inner_(std::move(inner)) {}

    HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                             std::stop_token stop) override {
        requests.push_back(request);
        return inner_->perform(request, onBlock, stop);
    }
    std::filesystem::path download(const HttpRequest& request, std::stop_token stop) override {
        requests.push_back(request);
        return inner_->download(request, stop);
    }

    std::vector<HttpRequest> requests;

  private:
    std::shared_ptr<HttpClient> inner_;
};

// The text form of a version 4 UUID: 8-4-4-4-12 upper-case hex digits.
bool isUppercaseUUID(const std::string& text) {
    if (text.size() != 36) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        char c = text[i];
        if (dash ? c != '-' : !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
    }
    return text[14] == '4' && std::string("89AB").find(text[19]) != std::string::npos;
}

class OpenAIClientTest : public ::testing::Test {
  protected:
    Configuration configuration(double timeout = 10.0) const {
        Configuration result;
        result.token = "test-key";
        result.baseURL = server.baseURL();
        result.timeoutInterval = timeout;
        return result;
    }

    StreamOutcome stream(OpenAI& client, const ChatQuery& query = question()) {
        StreamOutcome outcome;
        try {
            client.streamChats(query, [&](const ChatStreamResult& result) {
                std::string content;
                for (const auto& choice : result.choices)
                    content += choice.delta.content.value_or("");
                outcome.contents.push_back(content);
            });
        } catch (...) {
            outcome.error = std::current_exception();
        }
        return outcome;
    }

    LoopbackServer server;
    std::shared_ptr<HttpClient> http = std::make_shared<CurlHttpClient>();
};

TEST_F(OpenAIClientTest, JsonRequestsCarryTheStandardAndCustomHeaders) {
    auto config = configuration();
    config.organizationIdentifier = "org-test";
    config.customHeaders = {{"X-Extra", "1"}, {"content-type", "application/json; charset=utf-8"}};
    OpenAI client(http, config);
    server.setHandler(test::plainResponse(chatAnswer));

    EXPECT_EQ(client.chats(question()).choices.at(0).message.textContent(), "Hi");
    auto request = server.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/v1/chat/completions");
    EXPECT_EQ(request.header("Authorization"), "Bearer test-key");
    EXPECT_EQ(request.header("OpenAI-Organization"), "org-test");
    EXPECT_EQ(request.header("X-Extra"), "1");
    EXPECT_EQ(request.header("Content-Type"), "application/json; charset=utf-8")
        << "a custom header replaces a standard one";
    EXPECT_EQ(json::parse(request.body), toJson(question()));
}

TEST_F(OpenAIClientTest, EachOperationGoesToItsPath) {
    auto config = configuration();
    config.apiPath.embeddings = "/e?x=1";
    OpenAI client(http, config);

    server.setHandler(test::plainResponse(
        R"({"object":"list","data":[{"id":"m1","object":"model","created":5,"owned_by":"me"}]})"));
    EXPECT_EQ(client.models().data.at(0).id, "m1");
    auto models = server.lastRequest();
    EXPECT_EQ(models.method, "GET");
    EXPECT_EQ(models.target, "/v1/models");
    EXPECT_EQ(models.body, "");
    EXPECT_FALSE(client.configuration().organizationIdentifier);
    EXPECT_FALSE(models.header("OpenAI-Organization"));

    server.setHandler(test::plainResponse(
        R"({"data":[{"object":"embedding","embedding":[1,2],"index":0}],"model":"e","usage":{"prompt_tokens":1,"total_tokens":1}})"));
    EXPECT_EQ(client.embeddings({"e", "text"}).data.at(0).embedding, (std::vector<double>{1, 2}));
    EXPECT_EQ(server.lastRequest().target, "/e?x=1");
    EXPECT_EQ(json::parse(server.lastRequest().body),
              json::parse(R"({"model":"e","input":"text"})"));
}

TEST_F(OpenAIClientTest, PlainResponses) {
    OpenAI client(http, configuration());
    struct Case {
        const char* name;
        int status;
        std::string body;
        std::string expected;  // the answer's text, or "throws:" and the error's text
    };
    const std::vector<Case> cases = {
        {"an answer", 200, chatAnswer, "Hi"},
        {"the status plays no part", 500, chatAnswer, "Hi"},
        {"an error body with 401", 401, errorBody, "throws:Incorrect API key provided: test-key."},
        {"an error body with 200", 200, errorBody, "throws:Incorrect API key provided: test-key."},
        {"an unreadable body", 502, "<html>Bad gateway</html>",
         "throws:The data couldn't be read because it isn't in the correct format."},
        {"a body of the wrong shape", 200, R"({"id":"x"})",
         "throws:The data couldn't be read because it is missing."},
        {"no body", 200, "", "throws:The server returned no data."},
    };
    for (const auto& c : cases) {
        server.setHandler(test::plainResponse(c.body, c.status));
        std::string outcome;
        try {
            outcome = client.chats(question()).choices.at(0).message.textContent().value_or("");
        } catch (const std::exception& e) {
            outcome = std::string("throws:") + e.what();
        }
        EXPECT_EQ(outcome, c.expected) << c.name;
    }
}

TEST_F(OpenAIClientTest, AzureEndpointWithAQueryString) {
    CustomModel azure;
    azure.id = 3;
    azure.provider = "AzureOpenAI";
    azure.apiEndpoint =
        server.baseURL() + "/openai/deployments/gpt/chat/completions?api-version=2024-02-01";
    azure.headers = std::vector<CustomModelHeaderEntry>{{"api-key", "test-key"}};
    OpenAI client(http, customModelConfiguration(azure));
    server.setHandler(test::plainResponse(chatAnswer));

    client.chats(question());
    auto request = server.lastRequest();
    EXPECT_EQ(request.target, "/openai/deployments/gpt/chat/completions?api-version=2024-02-01");
    EXPECT_EQ(request.header("api-key"), "test-key");
    EXPECT_EQ(request.header("Authorization"), "Bearer not-needed");
}

TEST_F(OpenAIClientTest, TranscriptionSendsTheMultipartBodyByteForByte) {
    auto recording = std::make_shared<RecordingHttpClient>(http);
    OpenAI client(recording, configuration());
    server.setHandler(test::plainResponse(R"({"text":"hello there"})"));
    const std::string audio("ID3\0\xFF\r\n--x", 9);
    AudioTranscriptionQuery query{
        audio, "recording.mp3", "whisper-1", "names: Folvane", std::nullopt, "en"};

    EXPECT_EQ(client.audioTranscriptions(query).text, "hello there");
    auto request = server.lastRequest();
    EXPECT_EQ(request.target, "/v1/audio/transcriptions");
    EXPECT_EQ(request.header("Authorization"), "Bearer test-key");
    const std::string prefix = "multipart/form-data; boundary=";
    std::string contentType = request.header("Content-Type").value_or("");
    ASSERT_TRUE(contentType.starts_with(prefix)) << contentType;
    const std::string boundary = contentType.substr(prefix.size());
    EXPECT_TRUE(isUppercaseUUID(boundary)) << boundary;

    ASSERT_EQ(recording->requests.size(), 1u);
    EXPECT_EQ(recording->requests[0].body, query.multipartBody(boundary));
    EXPECT_EQ(request.parts, (std::vector<test::RecordedPart>{
                                 {"file", "recording.mp3", "audio/mpeg", audio},
                                 {"model", "", "", "whisper-1"},
                                 {"prompt", "", "", "names: Folvane"},
                                 {"language", "", "", "en"},
                             }))
        << "the entry without a value leaves no trace";

    client.audioTranscriptions(query);
    EXPECT_NE(server.lastRequest().header("Content-Type"), contentType) << "a fresh boundary";
}

TEST_F(OpenAIClientTest, SpeechIsDownloadedThenMovedIntoPlace) {
    OpenAI client(http, configuration());
    test::TempDir dir;
    auto output = dir.path() / "speech.mp3";
    test::writeFile(output, "an older file, longer than the new one");
    const std::string audio("ID3\x04\0\0audio", 11);
    server.setHandler(test::plainResponse(audio, 200, "audio/mpeg"));

    client.audioSpeech({"tts-1", "Hello", "alloy", "mp3", 1.25}, output);
    EXPECT_EQ(test::readFile(output), audio);
    auto request = server.lastRequest();
    EXPECT_EQ(request.target, "/v1/audio/speech");
    EXPECT_EQ(
        json::parse(request.body),
        json::parse(
            R"({"model":"tts-1","input":"Hello","voice":"alloy","response_format":"mp3","speed":1.25})"));

    server.setHandler(test::plainResponse(errorBody, 401));
    client.audioSpeech({"tts-1", "Hello", "alloy", {}, {}}, output);
    EXPECT_EQ(test::readFile(output), errorBody) << "the status is not examined";
    EXPECT_EQ(json::parse(server.lastRequest().body),
              json::parse(R"({"model":"tts-1","input":"Hello","voice":"alloy"})"));
}

TEST_F(OpenAIClientTest, StreamForcesStreamOnAndYieldsEachEvent) {
    OpenAI client(http, configuration());
    server.setHandler(test::chunkedResponse({test::recordedStream()}));
    auto outcome = stream(client);
    EXPECT_EQ(outcome.errorText(), "");
    EXPECT_EQ(outcome.contents, test::recordedStreamContents());
    EXPECT_EQ(json::parse(server.lastRequest().body)["stream"], true);
}

// What the first block of a stream says when it is no event: the words come
// from the body, from Retry-After, or the body itself; the status gives the code.
TEST_F(OpenAIClientTest, StreamFailuresOfTheFirstBlock) {
    OpenAI client(http, configuration());
    struct Case {
        const char* name;
        int status;
        const char* retryAfter;  // the header's value, if any
        std::string body;
        std::string message;
        std::optional<std::string> type;
        std::string code;
    };
    const std::string key = "Incorrect API key provided: test-key.";
    const std::string event = test::deltaEvent("x");
    const char* const invalid = "invalid_request_error";
    const std::vector<Case> cases = {
        {"401 with an error body", 401, nullptr, errorBody, key, invalid, "invalid_api_key"},
        {"an error body with 200", 200, nullptr, errorBody, key, invalid, "invalid_api_key"},
        {"429 with retry-after", 429, "20", "Too many",
         "Rate limit exceeded. Please try again after 20 seconds.", "rate_limit_error", "429"},
        {"429 without retry-after", 429, nullptr, "Too many",
         "Rate limit exceeded. Please try again later.", "rate_limit_error", "429"},
        {"500 with plain text", 500, nullptr, "upstream exploded", "upstream exploded",
         "server_error", "500"},
        {"an event line with 503", 503, nullptr, event, event, "server_error", "503"},
        {"an error whose message is a list", 400, nullptr,
         R"({"error":{"message":["first","second"],"code":"bad"}})", "first\nsecond", std::nullopt,
         "bad"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::pair<std::string, std::string>> headers;
        if (c.retryAfter) headers.emplace_back("retry-after", c.retryAfter);
        server.setHandler(test::chunkedResponse({c.body}, c.status, headers));
        auto outcome = stream(client);
        EXPECT_TRUE(outcome.contents.empty());
        try {
            std::rethrow_exception(outcome.error);
        } catch (const APIErrorResponse& e) {
            EXPECT_EQ(std::string(e.what()), c.message);
            EXPECT_EQ(e.error().type, c.type);
            EXPECT_EQ(e.error().code, c.code);
        } catch (...) {
            ADD_FAILURE() << outcome.errorText();
        }
    }
}

TEST_F(OpenAIClientTest, StreamTransportFailures) {
    struct Case {
        const char* name;
        LoopbackServer::Handler handler;
        double timeout;
        std::vector<std::string> contents;
        HttpTransportError::Kind kind;
        std::string message;
    };
    auto stall = [this](const test::RecordedRequest&, httplib::Response& response) {
        server.waitForRelease(5s);
        response.set_content(test::deltaEvent("late"), "text/event-stream");
    };
    auto eventThenStall = [this](const test::RecordedRequest&, httplib::Response& response) {
        response.set_chunked_content_provider("text/event-stream",
                                              [this](size_t offset, httplib::DataSink& sink) {
                                                  if (offset > 0) {
                                                      server.waitForRelease(5s);
                                                      return false;
                                                  }
                                                  std::string event = test::deltaEvent("a");
                                                  sink.write(event.data(), event.size());
                                                  return true;
                                              });
    };
    const std::vector<Case> cases = {
        {"a connection dropped mid-stream",
         test::chunkedResponse({test::deltaEvent("a"), test::deltaEvent("b")}, 200, {}, 0ms, true),
         10.0,
         {"a", "b"},
         HttpTransportError::Kind::connectionLost,
         "The network connection was lost."},
        {"a server that never answers",
         stall,
         0.3,
         {},
         HttpTransportError::Kind::timedOut,
         "The request timed out."},
        {"a stream that stalls",
         eventThenStall,
         0.3,
         {"a"},
         HttpTransportError::Kind::timedOut,
         "The request timed out."},
    };
    for (const auto& c : cases) {
        OpenAI client(http, configuration(c.timeout));
        server.setHandler(c.handler);
        auto started = std::chrono::steady_clock::now();
        auto outcome = stream(client);
        EXPECT_LT(std::chrono::steady_clock::now() - started, 4s) << c.name;
        EXPECT_EQ(outcome.contents, c.contents) << c.name;
        EXPECT_EQ(outcome.errorText(), c.message) << c.name;
        try {
            std::rethrow_exception(outcome.error);
        } catch (const HttpTransportError& e) {
            EXPECT_EQ(e.kind(), c.kind) << c.name;
        } catch (...) {
            ADD_FAILURE() << c.name;
        }
    }
}

TEST_F(OpenAIClientTest, BlocksArriveWhileTheStreamIsOpenAndAStopEndsIt) {
    OpenAI client(http, configuration());
    std::atomic<int> sent = 0;
    server.setHandler([&](const test::RecordedRequest&, httplib::Response& response) {
        response.set_chunked_content_provider(
            "text/event-stream", [&](size_t, httplib::DataSink& sink) {
                if (sent == 2) {
                    // Held open until the test ends: only a cancel ends the client's side.
                    server.waitForRelease(10s);
                    return false;
                }
                std::string event = test::deltaEvent(sent == 0 ? "first" : "second");
                ++sent;
                sink.write(event.data(), event.size());
                return true;
            });
    });

    std::vector<std::string> contents;
    std::stop_source stop;
    try {
        client.streamChats(
            question(),
            [&](const ChatStreamResult& result) {
                contents.push_back(result.choices.at(0).delta.content.value_or(""));
                if (contents.size() == 2) stop.request_stop();
            },
            stop.get_token());
        ADD_FAILURE() << "expected a cancellation";
    } catch (const HttpTransportError& e) {
        EXPECT_EQ(e.kind(), HttpTransportError::Kind::cancelled);
    }
    server.release();
    EXPECT_EQ(contents, (std::vector<std::string>{"first", "second"}));
}

TEST_F(OpenAIClientTest, RequestsOfOneClientReuseTheConnection) {
    OpenAI client(http, configuration());
    server.setHandler(test::plainResponse(chatAnswer));
    client.chats(question());
    client.chats(question());
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].remotePort, requests[1].remotePort);
}

TEST_F(OpenAIClientTest, UnreachableOrUnparsableAddresses) {
    auto refused = configuration(2.0);
    {
        LoopbackServer closed;
        refused.baseURL = closed.baseURL();
    }
    auto broken = configuration();
    broken.baseURL += "/a b";
    const std::vector<std::tuple<const char*, Configuration, HttpTransportError::Kind>> cases = {
        {"nobody listening", refused, HttpTransportError::Kind::cannotConnect},
        {"a URL that does not parse", broken, HttpTransportError::Kind::badURL},
    };
    for (const auto& [name, config, kind] : cases) {
        OpenAI client(http, config);
        try {
            client.chats(question());
            ADD_FAILURE() << name;
        } catch (const HttpTransportError& e) {
            EXPECT_EQ(e.kind(), kind) << name << ": " << e.what();
        }
        auto outcome = stream(client);
        EXPECT_NE(outcome.errorText(), "") << name;
    }
}

}  // namespace
}  // namespace folvane
