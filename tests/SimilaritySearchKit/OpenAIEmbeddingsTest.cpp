#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "SimilaritySearchKit/OpenAIEmbeddings.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "platform/CurlHttpClient.h"
#include "providers/OpenAI.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"

namespace folvane {
namespace {

using nlohmann::json;
using test::LogCapture;
using test::LoopbackServer;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::string embeddingAnswer(const std::vector<double>& values) {
    json item{{"object", "embedding"}, {"embedding", values}, {"index", 0}};
    return json{{"object", "list"},
                {"data", json::array({item})},
                {"model", "m"},
                {"usage", {{"prompt_tokens", 1}, {"total_tokens", 1}}}}
        .dump();
}

const char* serverError =
    R"({"error":{"message":"The server had an error","type":"server_error"}})";

class OpenAIEmbeddingsTest : public ::testing::Test {
  protected:
    std::shared_ptr<OpenAIEmbeddings> embedder(double timeout = 10.0,
                                               const std::string& model = "text-embedding-3-small",
                                               const std::string& baseURL = "") {
        Configuration configuration;
        configuration.token = "sk-test";
        configuration.baseURL = baseURL.empty() ? server.baseURL() : baseURL;
        configuration.timeoutInterval = timeout;
        return std::make_shared<OpenAIEmbeddings>(std::make_shared<OpenAI>(http, configuration),
                                                  model);
    }

    // Lines that start with `prefix`.
    static std::vector<std::string> linesStartingWith(LogCapture& log, const std::string& prefix) {
        std::vector<std::string> found;
        for (const auto& line : log.lines()) {
            if (line.rfind(prefix, 0) == 0) found.push_back(line);
        }
        return found;
    }

    LoopbackServer server;
    std::shared_ptr<HttpClient> http = std::make_shared<CurlHttpClient>();
};

TEST_F(OpenAIEmbeddingsTest, TheTestSentenceNeedsNoKeyAndNoNetwork) {
    // A port where nothing listens: any request would fail.
    const auto model = embedder(1.0, "text-embedding-ada-002", "http://127.0.0.1:9");
    const auto vector = model->encode("Test sentence");
    ASSERT_TRUE(vector);
    EXPECT_EQ(vector->size(), 1536u);
    EXPECT_EQ(*vector, OpenAIEmbeddings::testSentenceVector());

    // An index over it learns 1536 dimensions, and a query that is exactly
    // the test sentence is answered from the constant too.
    SimilarityIndex index("remote", model);
    EXPECT_EQ(index.dimension(), 1536);
    index.addItem("t", "Test sentence", {});
    const auto results = index.search("Test sentence", 1);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_NEAR(results.front().score, 1.0f, 1e-5f);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(OpenAIEmbeddingsTest, SendsTheModelAndTheOneTextAndReturnsFloats) {
    server.setHandler(test::plainResponse(embeddingAnswer({0.25, -1.5, 3.0})));
    const auto vector = embedder()->encode("What is in chapter 2?");
    EXPECT_EQ(vector, (std::vector<float>{0.25f, -1.5f, 3.0f}));

    ASSERT_EQ(server.requests().size(), 1u);
    const auto request = server.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/v1/embeddings");
    EXPECT_EQ(request.header("Authorization"), "Bearer sk-test");
    EXPECT_EQ(json::parse(request.body),
              (json{{"model", "text-embedding-3-small"}, {"input", "What is in chapter 2?"}}));

    // An empty text is sent like any other.
    embedder()->encode("");
    EXPECT_EQ(json::parse(server.lastRequest().body)["input"], "");
}

TEST_F(OpenAIEmbeddingsTest, RetriesTwiceAfterAPause) {
    struct Case {
        const char* name;
        int failures;  // answers that fail before a good one
        bool timeOut;  // failing by silence rather than by status 500
        bool expectVector;
    };
    const std::vector<Case> cases{
        {"500 then success", 1, false, true},
        {"timeout then success", 1, true, true},
        {"two 500s then success", 2, false, true},
        {"three 500s", 3, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LoopbackServer local;
        std::atomic<int> seen = 0;
        local.setHandler([&](const test::RecordedRequest&, httplib::Response& response) {
            if (seen++ < c.failures) {
                if (c.timeOut) std::this_thread::sleep_for(800ms);
                response.status = 500;
                response.set_content(serverError, "application/json");
                return;
            }
            response.set_content(embeddingAnswer({1, 2}), "application/json");
        });
        const auto model = embedder(c.timeOut ? 0.3 : 10.0, "m", local.baseURL());

        LogCapture log;
        const auto start = Clock::now();
        std::optional<std::vector<float>> vector;
        std::string thrown;
        try {
            vector = model->encode("chunk text");
        } catch (const std::exception& error) {
            thrown = error.what();
        }
        const auto elapsed = Clock::now() - start;

        EXPECT_EQ(vector.has_value(), c.expectVector);
        EXPECT_EQ(thrown.empty(), c.expectVector) << "the last failure is thrown: " << thrown;
        const int attempts = std::min(c.failures + 1, 3);
        EXPECT_EQ(local.requests().size(), static_cast<size_t>(attempts));
        const auto failures = linesStartingWith(log, "Attempt ");
        ASSERT_EQ(failures.size(), static_cast<size_t>(std::min(c.failures, 3)));
        for (size_t i = 0; i < failures.size(); ++i) {
            const std::string prefix =
                "Attempt " + std::to_string(i + 1) + " failed to encode sentence: ";
            EXPECT_EQ(failures[i].rfind(prefix, 0), 0u) << failures[i];
            EXPECT_GT(failures[i].size(), prefix.size()) << "the error is named";
        }
        // A pause of 100 ms after each failed attempt but the third.
        EXPECT_GE(elapsed, 100ms * std::min(c.failures, 2));
    }
}

TEST_F(OpenAIEmbeddingsTest, AnAnswerWithoutDataGivesNoVectorAtOnce) {
    server.setHandler(test::plainResponse(
        R"({"object":"list","data":[],"model":"m","usage":{"prompt_tokens":0,"total_tokens":0}})"));
    LogCapture log;
    EXPECT_FALSE(embedder()->encode("nothing comes back"));
    EXPECT_EQ(server.requests().size(), 1u);
    EXPECT_TRUE(linesStartingWith(log, "Attempt ").empty());
}

TEST_F(OpenAIEmbeddingsTest, SeveralRequestsAreOnTheWireAtOnce) {
    std::atomic<int> arrived = 0;
    server.setHandler([&](const test::RecordedRequest&, httplib::Response& response) {
        ++arrived;
        server.waitForRelease(5s);
        response.set_content(embeddingAnswer({1}), "application/json");
    });
    const auto model = embedder();
    std::vector<std::future<std::optional<std::vector<float>>>> results;
    for (int i = 0; i < 3; ++i) {
        results.push_back(std::async(
            std::launch::async, [&, i] { return model->encode("text " + std::to_string(i)); }));
    }
    const auto deadline = Clock::now() + 4s;
    while (arrived < 3 && Clock::now() < deadline) std::this_thread::sleep_for(5ms);
    EXPECT_EQ(arrived.load(), 3) << "each caller's request is sent before the others end";
    server.release();
    for (auto& result : results) EXPECT_EQ(result.get(), std::vector<float>{1});
}

}  // namespace
}  // namespace folvane
