#include <gtest/gtest.h>

#include "platform/CurlHttpClient.h"
#include "platform/DevToolsTabs.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

TEST(DevToolsTabsTest, activePortReadsTheFilesFirstLine) {
    struct Case {
        std::string content;
        std::optional<int> port;
    };
    const std::vector<Case> cases = {
        {"9222\n/devtools/browser/5f0c\n", 9222},
        {"43211", 43211},
        {"", std::nullopt},
        {"port\n", std::nullopt},
        {"0\n", std::nullopt},
        {"99999\n", std::nullopt},
    };
    for (const auto& c : cases) {
        test::TempDir dir;
        test::writeFile(dir.path() / "DevToolsActivePort", c.content);
        EXPECT_EQ(DevToolsTabs::activePort(dir.path()), c.port) << c.content;
    }
    test::TempDir empty;
    EXPECT_EQ(DevToolsTabs::activePort(empty.path()), std::nullopt);
}

TEST(DevToolsTabsTest, frontmostTabIsTheFirstPageOfTheList) {
    test::LoopbackServer server;
    std::string list = R"([
        {"type": "service_worker", "url": "https://example.org/sw.js"},
        {"type": "page", "url": "https://example.org/paper.pdf", "title": "paper.pdf"},
        {"type": "page", "url": "https://example.org/other"}])";
    server.setHandler([&list](const test::RecordedRequest& request, httplib::Response& response) {
        if (request.target != "/json/list") {
            response.status = 404;
            return;
        }
        response.set_content(list, "application/json");
    });
    const int port = std::stoi(server.baseURL().substr(server.baseURL().rfind(':') + 1));
    CurlHttpClient http;
    EXPECT_EQ(DevToolsTabs::frontmostTab(http, port), "https://example.org/paper.pdf");
    list = R"([{"type": "background_page", "url": "chrome-extension://x/bg.html"}])";
    EXPECT_EQ(DevToolsTabs::frontmostTab(http, port), std::nullopt);
    list = R"({"not": "a list"})";
    EXPECT_THROW(DevToolsTabs::frontmostTab(http, port), std::runtime_error);
}

}  // namespace
}  // namespace folvane
