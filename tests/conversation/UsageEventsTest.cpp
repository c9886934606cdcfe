#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <nlohmann/json.hpp>

#include "conversation/AppCore.h"
#include "conversation/ChatListViewModel.h"
#include "conversation/Milestones.h"
#include "conversation/UsageEvents.h"
#include "platform/CurlHttpClient.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// The events that reached the collector, in the order they came.
std::vector<std::string> reported(const test::LoopbackServer& collector) {
    std::vector<std::string> events;
    for (const auto& request : collector.requests()) {
        if (request.target != "/events") continue;
        events.push_back(nlohmann::json::parse(request.body).at("event").get<std::string>());
    }
    return events;
}

// The real client, counting what it is asked to send.
class CountingHttpClient final : public HttpClient {
  public:
    HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                             std::stop_token stop) override {
        ++performed;
        return real.perform(request, onBlock, stop);
    }
    std::filesystem::path download(const HttpRequest& request, std::stop_token stop) override {
        ++performed;
        return real.download(request, stop);
    }
    std::atomic<int> performed = 0;
    CurlHttpClient real;
};

// One step of a user's history: a key passed its check (chat 0), or a message
// was sent in the chat of that id.
struct Action {
    int64_t chatId = 0;
};
constexpr Action keyPassed{0};
constexpr Action sentIn(int64_t id) {
    return {id};
}

class UsageEventsTest : public ::testing::Test {
  protected:
    // Runs the actions through the milestones and waits for their reports.
    static void act(AppPreferences& settings, UsageEvents& events,
                    const std::vector<Action>& actions) {
        const UsageEventSender send = [&](const std::string& event) { events.track(event); };
        for (const Action& action : actions) {
            if (action.chatId == 0) {
                Milestones::keyPassed(settings, send);
            } else {
                Milestones::messageSent(settings, action.chatId, send);
            }
        }
        events.waitForReports();
    }

    AppPreferences preferences;
    test::LoopbackServer collector;
    // After the server: its connections close before the server stops.
    std::shared_ptr<CountingHttpClient> http = std::make_shared<CountingHttpClient>();
};

TEST_F(UsageEventsTest, EachMilestoneReachesTheCollectorOnceInTheOrderOfItsTests) {
    struct Case {
        const char* what;
        std::vector<Action> actions;
        std::vector<std::string> events;
    };
    const std::vector<Case> cases{
        {"a first message in the demo chat", {sentIn(1)}, {"onboarding_used", "onboarding_setup"}},
        {"a first message in chat 4",
         {sentIn(4)},
         {"onboarding_used", "onboarding_aha", "onboarding_activated", "onboarding_setup"}},
        {"chats 2 and 3 are no activation",
         {sentIn(2), sentIn(3), sentIn(3)},
         {"onboarding_used", "onboarding_aha", "onboarding_setup"}},
        {"a key before the first message is the one setup",
         {keyPassed, sentIn(1), keyPassed, sentIn(1), sentIn(2), sentIn(5), sentIn(5)},
         {"onboarding_setup", "onboarding_used", "onboarding_aha", "onboarding_activated"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::LoopbackServer server;
        server.setHandler(test::plainResponse("{}"));
        AppPreferences fresh;
        fresh.setUsageEventsCollector(server.baseURL() + "/");
        UsageEvents events(fresh, std::make_shared<CurlHttpClient>());
        act(fresh, events, c.actions);
        EXPECT_THAT(reported(server), ElementsAreArray(c.events));
    }
}

TEST_F(UsageEventsTest, AReportIsAPostOfTheEventAloneToEvents) {
    collector.setHandler(test::plainResponse("{}"));
    preferences.setUsageEventsCollector(collector.baseURL());
    UsageEvents events(preferences, http);
    act(preferences, events, {sentIn(1)});

    const auto request = collector.requests().at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/events");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_THAT(request.header("User-Agent").value_or(""), StartsWith("Folvane/0."));
    EXPECT_EQ(request.body,
              R"({"type":"event","hostname":"linux.folvane","event":"onboarding_used"})");
}

TEST_F(UsageEventsTest, AFailedReportIsLoggedAndNeverSentAgain) {
    test::LogCapture log;
    std::string downURL;
    {
        test::LoopbackServer gone;
        downURL = gone.baseURL();
    }
    struct Case {
        const char* what;
        std::string collector;
        std::string logged;
    };
    collector.setHandler(test::plainResponse("busy", 503, "text/plain"));
    const std::vector<Case> cases{
        {"the network is down", downURL, "Usage event not reported: "},
        {"the collector refuses", collector.baseURL(),
         "Usage event not reported: the collector answered 503"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        AppPreferences fresh;
        fresh.setUsageEventsCollector(c.collector);
        {
            UsageEvents events(fresh, http);
            EXPECT_NO_THROW(act(fresh, events, {sentIn(4)}));
        }
        EXPECT_TRUE(fresh.onboardingUsed() && fresh.onboardingAha() &&
                    fresh.onboardingActivated() && fresh.onboardingSetup());
        EXPECT_TRUE(log.mentions(c.logged));

        // The next start, with the network back: nothing is sent again.
        test::LoopbackServer back;
        fresh.setUsageEventsCollector(back.baseURL());
        UsageEvents again(fresh, http);
        act(fresh, again, {keyPassed, sentIn(4)});
        EXPECT_THAT(back.requests(), IsEmpty());
    }
}

TEST_F(UsageEventsTest, WithNoCollectorNothingIsSentAndTheFlagsStillMove) {
    UsageEvents events(preferences, http);
    act(preferences, events, {keyPassed, sentIn(4)});
    events.track("onboarding_opened");
    events.waitForReports();
    EXPECT_EQ(http->performed, 0);
    EXPECT_TRUE(preferences.onboardingUsed() && preferences.onboardingAha() &&
                preferences.onboardingActivated() && preferences.onboardingSetup());
}

TEST_F(UsageEventsTest, AReportStillOnItsWayIsCancelledAfterTheGrace) {
    collector.setHandler([&](const test::RecordedRequest&, httplib::Response& response) {
        collector.waitForRelease(std::chrono::seconds(20));
        response.set_content("{}", "application/json");
    });
    preferences.setUsageEventsCollector(collector.baseURL());
    const auto start = std::chrono::steady_clock::now();
    {
        UsageEvents events(preferences, http, std::chrono::milliseconds(100));
        events.track("onboarding_used");
        events.track("onboarding_setup");
        // Until the first report has reached the collector.
        while (collector.requests().empty()) std::this_thread::yield();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    collector.release();
    EXPECT_THAT(reported(collector), ElementsAre("onboarding_used"));
}

// The core's own wiring: the first start, then a message in the demo chat; a
// second start over the same files reports nothing.
TEST_F(UsageEventsTest, TheCoreReportsTheStartAndTheFirstMessageOnce) {
    collector.setHandler(test::plainResponse("{}"));
    test::TempDir dir;
    const AppPaths paths{dir / "data", dir / "config", test::resourceDir()};
    test::writeFile(dir / "config/settings.json",
                    nlohmann::json{{"usageEventsCollector", collector.baseURL()}}.dump());
    for (int start = 0; start < 2; ++start) {
        SCOPED_TRACE(start);
        BlockingMainQueue queue;
        AppCore core(paths, queue);
        auto& chats = core.chatList();
        chats.trigger(chat_list_input::Sync{});
        auto demo = chats.find(1);
        ASSERT_TRUE(demo);
        demo->trigger(chat_input::AddMessage{"  \n"});
        demo->trigger(chat_input::AddMessage{"How does Bitcoin work?"});
        core.usageEvents().waitForReports();
        queue.drain();
    }
    EXPECT_THAT(reported(collector),
                ElementsAre("onboarding_opened", "onboarding_used", "onboarding_setup"));
}

}  // namespace
}  // namespace folvane
