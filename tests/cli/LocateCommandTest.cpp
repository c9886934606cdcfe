// locate end to end: a chat made by the built CLI, answered with a page
// reference by a scripted server, then each reference found on its page.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/CliUser.h"
#include "support/ScriptedChatServer.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class LocateCommandTest : public test::CliUser {
  protected:
    std::string pdf = home / "paper.pdf";
    test::LoopbackServer server;
    std::string chatId;

    void SetUp() override {
        test::TestPage cover({"Bitcoin is electronic cash between peers."});
        test::TestPage second({"Mining secures the chain", "with proof of work."}, 16);
        test::writeFile(pdf, test::makePdfWithPages({cover, second}));
        chatId = openChat({pdf});
        answerFrom(chatId, server.baseURL());
    }

    // The id of the chat's first message of the role, from `messages --json`.
    std::string idOf(const std::string& role) {
        for (const auto& row : jsonLines(cli({"messages", chatId, "--json"}).out)) {
            if (row["role"] == role) return std::to_string(row["id"].get<int64_t>());
        }
        return "0";
    }
};

TEST_F(LocateCommandTest, PrintsThePageAndTheRectanglesOfEachCitedPassage) {
    test::serveChatScripts(
        server, {test::textScript({"Proof of work secures it.", "\n.....REFS.....\n2"})});
    ASSERT_EQ(cli({"ask", chatId, "How is the chain secured?"}).exitCode, 0);
    const std::string answer = idOf("assistant");

    const auto located = cli({"locate", chatId, answer, "--json"});
    ASSERT_EQ(located.exitCode, 0) << located.err;
    const auto row = nlohmann::json::parse(located.out.substr(0, located.out.find('\n')));
    EXPECT_EQ(row["reference"], 1);
    EXPECT_EQ(row["page"], 2);
    EXPECT_EQ(row["label"], "2");
    EXPECT_EQ(std::filesystem::path(row["document"].get<std::string>()), pdf);
    // The chunk is the whole of page 2: one rectangle for each of its lines,
    // top to bottom, on the page.
    ASSERT_EQ(row["rects"].size(), 2u) << located.out;
    EXPECT_LT(row["rects"][0][1].get<double>(), row["rects"][1][1].get<double>());
    for (const auto& rect : row["rects"]) {
        EXPECT_LT(rect[0].get<double>(), rect[2].get<double>());
        EXPECT_LE(rect[3].get<double>(), 792);
    }

    const auto plain = cli({"locate", chatId, answer});
    ASSERT_EQ(plain.exitCode, 0) << plain.err;
    EXPECT_THAT(plain.out, HasSubstr("Reference 1: paper.pdf, page 2 (2):  "));

    // The question carries no references; unknown ids are refused.
    struct Case {
        std::vector<std::string> args;
        const char* words;
    };
    const Case refused[] = {
        {{"locate", chatId, idOf("user")}, "The message has no references."},
        {{"locate", chatId, "99999"}, "No message has the id 99999 in this chat."},
        {{"locate", "99999", answer}, "No chat has the id 99999."},
        {{"locate", chatId}, "locate needs a chat id and a message id"},
    };
    for (const Case& c : refused) {
        const auto failed = cli(c.args);
        EXPECT_NE(failed.exitCode, 0) << c.words;
        EXPECT_THAT(failed.err, HasSubstr(c.words));
    }

    // The document moved away: said for the reference, in intake's words.
    std::filesystem::rename(pdf, home / "moved.pdf");
    const auto missing = cli({"locate", chatId, answer});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("Reference 1: "));
    EXPECT_THAT(missing.err, HasSubstr("paper.pdf"));
}

}  // namespace
}  // namespace folvane
