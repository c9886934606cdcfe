#include <gtest/gtest.h>

#include <regex>

#include "chat/AppChatService.h"
#include "conversation/BrowserTabOpener.h"
#include "conversation/ChatListViewModel.h"
#include "conversation/FileOpener.h"
#include "platform/CurlHttpClient.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "support/LoopbackServer.h"
#include "support/MozLz4.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;

// Stands in for a chat's view model, which the list only keeps.
class ListedChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    explicit ListedChat(const Conversation& conversation)
        : PublishingViewModel([&] {
              ChatDetailState state;
              state.conversation = conversation;
              return state;
          }()) {}
    void trigger(ChatDetailInput) override {}
};

// The whole flow against a loopback web server, a Firefox profile whose saved
// session shows the server's URL, a real chat service and the real download
// into a temporary home folder.
class BrowserTabOpenerTest : public ::testing::Test {
  protected:
    BrowserTabOpenerTest() {
        server.setHandler(
            [this](const test::RecordedRequest& request, httplib::Response& response) {
                const std::string path = request.target.substr(0, request.target.find('?'));
                if (path == "/paper.pdf" || path == "/broken.pdf") {
                    response.set_content(request.method == "HEAD" ? "" : pdf, "application/pdf");
                    if (path == "/broken.pdf" && request.method == "GET") response.status = 500;
                } else if (path == "/page.pdf") {
                    response.set_content("<html>not a pdf</html>", "text/html; charset=utf-8");
                } else {
                    response.status = 404;
                    response.set_content("Not Found", "text/plain");
                }
            });
        BrowserTabOpener::Callbacks callbacks;
        callbacks.setOpening = [this](bool on) { openingChanges.push_back(on); };
        callbacks.bringToFront = [this] { ++broughtToFront; };
        callbacks.openFile = [this](const std::string& url) { return opener.openFiles({url}); };
        callbacks.openChat = [this](int64_t id) { openedChats.push_back(id); };
        callbacks.alert = [this](const std::string& title, const std::string& text) {
            alerts.push_back(title + ": " + text);
        };
        callbacks.finished = [this](std::optional<int64_t> id) {
            finishedWith = id;
            finished = true;
        };
        tabs = std::make_unique<BrowserTabOpener>(http, queue, home.path(), callbacks);
    }

    // Shows the URL in the Firefox window in front and presses the shortcut.
    void fetch(const std::string& url) {
        test::writeFirefoxSession(profile.path(), url, "Paper");
        finished = false;
        tabs->start(FrontmostWindow{"Navigator", "firefox", "Paper — Mozilla Firefox"},
                    profile.path());
        ASSERT_TRUE(queue.runUntil([this] { return finished; }, 20s));
    }

    std::vector<std::string> homeFiles() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(home.path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    const std::string pdf = test::makePdf({"Hello from the browser"});
    test::LoopbackServer server;
    test::TempDir dir, home, profile;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    ChatListViewModel list{service, [](const Conversation& conversation) {
                               return std::make_shared<ListedChat>(conversation);
                           }};
    FileOpener opener{service, list};
    CurlHttpClient http;
    BlockingMainQueue queue;
    std::unique_ptr<BrowserTabOpener> tabs;

    std::vector<bool> openingChanges;
    int broughtToFront = 0;
    std::vector<int64_t> openedChats;
    std::vector<std::string> alerts;
    std::optional<int64_t> finishedWith;
    bool finished = false;
};

TEST_F(BrowserTabOpenerTest, aPdfTabBecomesAChatAndTheSecondCopyIsDated) {
    fetch(server.baseURL() + "/paper.pdf?download=1");
    EXPECT_TRUE(alerts.empty()) << alerts.front();
    ASSERT_EQ(openedChats.size(), 1u);
    EXPECT_EQ(finishedWith, openedChats[0]);
    EXPECT_EQ(openingChanges, (std::vector<bool>{true, false}));
    EXPECT_EQ(broughtToFront, 1);
    EXPECT_EQ(test::readFile(home.path() / "paper.pdf"), pdf);
    const auto chats = service.getConversations(openedChats[0] - 1);
    ASSERT_EQ(chats.size(), 1u);
    EXPECT_EQ(chats[0].title, "paper");
    const auto requests = server.requests();
    ASSERT_GE(requests.size(), 2u);
    EXPECT_EQ(requests[0].method, "HEAD");

    fetch(server.baseURL() + "/paper.pdf");
    ASSERT_EQ(openedChats.size(), 2u);
    EXPECT_NE(openedChats[0], openedChats[1]);
    const auto files = homeFiles();
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0], "paper.pdf");
    // The time stands after the whole name, extension included.
    EXPECT_TRUE(
        std::regex_match(files[1], std::regex(R"(paper\.pdf-\d{4}-\d\d-\d\d-\d\d-\d\d-\d\d)")))
        << files[1];
}

TEST_F(BrowserTabOpenerTest, failuresShowTheirAlert) {
    struct Case {
        std::string url;
        std::string alert;
        std::vector<bool> opening;
    };
    const std::string base = server.baseURL();
    const std::vector<Case> cases = {
        {base + "/page.pdf", "Unsupported File Type: Please try again with a PDF document.", {}},
        {base + "/missing.pdf", "Unsupported File Type: Please try again with a PDF document.", {}},
        {"http://127.0.0.1:1/paper.pdf",
         "Failed: Failed to get the current URL. Please make sure you've granted required "
         "permissions.",
         {}},
        {"about:blank",
         "Failed: Failed to get the current URL. Please make sure you've granted required "
         "permissions.",
         {}},
        {base + "/broken.pdf",
         "Failed: Failed to download the file. Please try again.",
         {true, false}},
    };
    for (const auto& c : cases) {
        alerts.clear();
        openingChanges.clear();
        fetch(c.url);
        EXPECT_EQ(alerts, std::vector<std::string>{c.alert}) << c.url;
        EXPECT_EQ(openingChanges, c.opening) << c.url;
        EXPECT_EQ(finishedWith, std::nullopt);
    }
    EXPECT_TRUE(openedChats.empty());
    EXPECT_TRUE(homeFiles().empty());
}

TEST_F(BrowserTabOpenerTest, onlyFirefoxAndChromiumWindowsAreBrowsers) {
    const std::string unsupported =
        "Unsupported Browser: Folvane supports Firefox and Chromium-family browsers (Chromium, "
        "Google Chrome, Brave, Microsoft Edge, Vivaldi) only.";
    for (const std::optional<FrontmostWindow>& window :
         {std::optional<FrontmostWindow>{}, std::optional(FrontmostWindow{"xterm", "XTerm", "~"}),
          std::optional(FrontmostWindow{"Navigator", "Thunderbird", "Inbox"})}) {
        alerts.clear();
        finished = false;
        tabs->start(window, profile.path());
        ASSERT_TRUE(queue.runUntil([this] { return finished; }, 5s));
        EXPECT_EQ(alerts, std::vector<std::string>{unsupported});
    }
    EXPECT_TRUE(server.requests().empty());
    for (const auto& [instance, cls, name] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {"Navigator", "firefox", "Firefox"},
             {"chromium", "Chromium", "Chromium"},
             {"google-chrome", "Google-chrome", "Google Chrome"},
             {"brave-browser", "Brave-browser", "Brave"},
             {"microsoft-edge", "Microsoft-edge", "Microsoft Edge"}}) {
        EXPECT_EQ(tabs->browserOf(FrontmostWindow{instance, cls, "t"}).name, name);
    }
}

TEST_F(BrowserTabOpenerTest, chromiumTellsItsTabThroughTheDevToolsPort) {
    test::LoopbackServer devTools;
    const std::string paper = server.baseURL() + "/paper.pdf";
    // By value: the server thread may still answer while the test's locals go.
    devTools.setHandler([paper](const test::RecordedRequest&, httplib::Response& response) {
        response.set_content(R"([{"type":"page","url":")" + paper + R"("}])", "application/json");
    });
    const std::string port = devTools.baseURL().substr(devTools.baseURL().rfind(':') + 1);
    test::writeFile(profile.path() / "DevToolsActivePort", port + "\n/devtools/browser/x\n");
    const auto browser = SupportedBrowser::fromName("chromium", home.path());
    ASSERT_TRUE(browser);
    EXPECT_EQ(tabs->currentURL(*browser, "", profile.path()), paper);
    tabs->start(*browser, profile.path());
    ASSERT_TRUE(queue.runUntil([this] { return finished; }, 20s));
    EXPECT_EQ(openedChats.size(), 1u);
    // Without the port file, no URL.
    std::filesystem::remove(profile.path() / "DevToolsActivePort");
    EXPECT_THROW(tabs->currentURL(*browser, "", profile.path()), BrowserTabError);
}

}  // namespace
}  // namespace folvane
