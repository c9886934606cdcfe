#include <gtest/gtest.h>

#include "platform/CurlHttpClient.h"
#include "providers/OpenRouterCatalogue.h"
#include "support/LoopbackServer.h"

namespace folvane {
namespace {

using nlohmann::json;

TEST(OpenRouterCatalogueTest, FetchesTheListWithoutAKeyAndKeepsPricesAsText) {
    test::LoopbackServer server;
    server.setHandler([](const test::RecordedRequest&, httplib::Response& response) {
        response.set_content(R"({"data":[
            {"id":"openai/gpt-4","name":"OpenAI: GPT-4","context_length":8191,
             "pricing":{"prompt":"0.00003","completion":"0.00006"},"extra":1},
            {"id":"meta/llama","name":"Llama","context_length":4096,
             "pricing":{"prompt":0.0000002,"completion":0}}]})",
                             "application/json");
    });
    CurlHttpClient http;
    const json models = OpenRouterCatalogue::fetch(http, server.baseURL());

    const auto request = server.lastRequest();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.target, "/v1/models");
    EXPECT_FALSE(request.header("Authorization"));
    ASSERT_EQ(models.size(), 2u);
    EXPECT_EQ(models[0], json::parse(R"({"id":"openai/gpt-4","name":"OpenAI: GPT-4",
        "pricing":{"prompt":"0.00003","completion":"0.00006"},"context_length":8191})"));
    EXPECT_EQ(models[1]["pricing"]["prompt"], "2e-07");
    EXPECT_EQ(models[1]["pricing"]["completion"], "0");
}

TEST(OpenRouterCatalogueTest, AFailedAnswerThrowsAndStoresNothing) {
    const std::vector<std::pair<int, std::string>> answers{
        {503, R"({"data":[]})"},
        {200, "not json"},
        {200, R"({"models":[]})"},
        {200, R"({"data":[{"id":"x"}]})"},
    };
    for (const auto& [status, body] : answers) {
        test::LoopbackServer server;
        server.setHandler([&](const test::RecordedRequest&, httplib::Response& response) {
            response.status = status;
            response.set_content(body, "application/json");
        });
        CurlHttpClient http;
        EXPECT_THROW(OpenRouterCatalogue::fetch(http, server.baseURL()), std::runtime_error)
            << status << " " << body;
    }
}

}  // namespace
}  // namespace folvane
