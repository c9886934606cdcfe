#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "support/CliUser.h"
#include "support/LoopbackServer.h"
#include "support/MozLz4.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class CurrentTabCommandTest : public test::CliUser {
  protected:
    CurrentTabCommandTest() {
        server.setHandler(
            [this](const test::RecordedRequest& request, httplib::Response& response) {
                if (request.target == "/paper.pdf") {
                    response.set_content(request.method == "HEAD" ? "" : pdf, "application/pdf");
                } else {
                    response.set_content("<html></html>", "text/html");
                }
            });
    }

    const std::string pdf = test::makePdf({"From the browser"});
    test::LoopbackServer server;
    test::TempDir profile;
};

TEST_F(CurrentTabCommandTest, printsTheTabAndOpensItOnlyWhenAsked) {
    const std::string url = server.baseURL() + "/paper.pdf";
    test::writeFirefoxSession(profile.path(), url);
    const std::vector<std::string> args = {"current-tab", "--browser", "firefox", "--profile",
                                           profile.path().string()};
    auto result = cli(args);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Browser: Firefox\nURL: " + url + "\nPDF: yes\n");
    EXPECT_FALSE(std::filesystem::exists(home.path() / "paper.pdf"));

    auto opened = args;
    opened.push_back("--open");
    result = cli(opened);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string id = lines(result.out).at(0);
    EXPECT_EQ(test::readFile(home.path() / "paper.pdf"), pdf);
    EXPECT_THAT(cli({"chats"}).out, HasSubstr("paper"));
    EXPECT_NE(id, "1");
}

TEST_F(CurrentTabCommandTest, failuresPrintTheAlertAndExitNonZero) {
    test::writeFirefoxSession(profile.path(), server.baseURL() + "/page.pdf");
    auto result =
        cli({"current-tab", "--browser", "firefox", "--profile", profile.path().string()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("URL: " + server.baseURL() + "/page.pdf"));
    EXPECT_EQ(result.err, "Unsupported File Type: Please try again with a PDF document.\n");

    // No display: no window in front, so no browser.
    result = cli({"current-tab"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("Unsupported Browser: "));
    EXPECT_EQ(cli({"current-tab", "--browser", "lynx"}).exitCode, 2);
}

// A real Chromium, headless, showing a PDF of the loopback server: its
// DevToolsActivePort names the port that tells its tab.
TEST_F(CurrentTabCommandTest, findsTheTabOfARunningChromium) {
    if (system("command -v chromium >/dev/null 2>&1") != 0) GTEST_SKIP() << "no chromium";
    const std::string url = server.baseURL() + "/paper.pdf";
    const std::string userData = profile.path().string();
    const pid_t browser = fork();
    if (browser == 0) {
        const std::string dataDirArgument = "--user-data-dir=" + userData;
        execlp("chromium", "chromium", "--headless=new", "--remote-debugging-port=0",
               dataDirArgument.c_str(), "--no-sandbox", "--disable-gpu", "--no-first-run",
               "--disable-background-networking", "--disable-component-update", "--disable-sync",
               url.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    test::CliResult result;
    for (int attempt = 0; attempt < 60; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        if (!std::filesystem::exists(profile.path() / "DevToolsActivePort")) continue;
        result = cli({"current-tab", "--browser", "chromium", "--profile", userData});
        if (result.exitCode == 0) break;
    }
    kill(browser, SIGTERM);
    waitpid(browser, nullptr, 0);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Browser: Chromium\nURL: " + url + "\nPDF: yes\n");
}

}  // namespace
}  // namespace folvane
