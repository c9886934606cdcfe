#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/CliUser.h"
#include "support/LoopbackServer.h"
#include "support/ScriptedChatServer.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UsageEventsCliTest : public test::CliUser {
  protected:
    std::vector<std::string> reported() const {
        std::vector<std::string> events;
        for (const auto& request : server.requests()) {
            if (request.target != "/events") continue;
            events.push_back(nlohmann::json::parse(request.body).at("event").get<std::string>());
        }
        return events;
    }

    test::LoopbackServer server;
};

// The command line sets the collector and its questions count as the
// window's do, each milestone once; before the collector is set, the first
// start sends nothing.
TEST_F(UsageEventsCliTest, QuestionsReportTheirMilestonesOnceToTheCollectorSet) {
    const std::string path = home / "paper.pdf";
    test::writeFile(path, test::makePdf({"Bitcoin is electronic cash between peers."}));
    const std::string chatId = openChat({path});
    answerFrom(chatId, server.baseURL());
    test::serveChatScripts(server, {test::textScript({"Peers."})});
    EXPECT_THAT(server.requests(), IsEmpty());

    const auto set = cli({"settings", "set", "usageEventsCollector", server.baseURL()});
    ASSERT_EQ(set.exitCode, 0) << set.err;
    for (int question = 0; question < 2; ++question) {
        const auto asked = cli({"ask", chatId, "What is Bitcoin?"});
        ASSERT_EQ(asked.exitCode, 0) << asked.err;
    }
    EXPECT_THAT(reported(), ElementsAre("onboarding_used", "onboarding_aha", "onboarding_setup"));
}

}  // namespace
}  // namespace folvane
