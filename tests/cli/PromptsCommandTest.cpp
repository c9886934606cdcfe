// folvane-cli prompts, run as a program against a fresh data folder whose
// seed holds eight prompts, ids 1 to 8, numbered 0 to 7.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "store/SqliteConnection.h"
#include "support/CliUser.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PromptsCommandTest : public test::CliUser {
  protected:
    test::CliResult prompts(std::vector<std::string> args) const {
        args.insert(args.begin(), "prompts");
        return cli(args);
    }

    // "id:sortOrder" of each row the command lists, through --json.
    std::vector<std::string> listed(std::vector<std::string> args = {"list"}) const {
        args.push_back("--json");
        const auto result = prompts(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        std::vector<std::string> rows;
        for (const auto& row : jsonLines(result.out))
            rows.push_back(row["id"].dump() + ":" + row["sortOrder"].dump());
        return rows;
    }
};

TEST_F(PromptsCommandTest, EditsTheLibraryAndListsItAsStored) {
    EXPECT_EQ(prompts({"add", "Translate", "Into French."}).out, "9\n");
    EXPECT_EQ(prompts({"duplicate", "9"}).out, "10\n");
    ASSERT_EQ(prompts({"edit", "10", "--name", "Traduire", "--text", "En français.", "--disable"})
                  .exitCode,
              0);
    EXPECT_THAT(prompts({"list"}).out,
                HasSubstr("9     yes 0      Translate                 Into French.\n"
                          "10    no  0      Traduire                  En français.\n"));

    const auto moved = prompts({"move", "8", "1"});
    ASSERT_EQ(moved.exitCode, 0) << moved.err;
    EXPECT_LT(moved.out.find("Quiz me"), moved.out.find("Key points"));
    ASSERT_EQ(prompts({"remove", "2", "9"}).exitCode, 0);
    // A later run lists in row order, with the numbers the move stored.
    EXPECT_THAT(listed(), ElementsAre("1:0", "3:3", "4:4", "5:5", "6:6", "7:7", "8:1", "10:9"));
    EXPECT_THAT(listed({"list", "--sort", "sortOrder"}),
                ElementsAre("1:0", "8:1", "3:3", "4:4", "5:5", "6:6", "7:7", "10:9"));
}

TEST_F(PromptsCommandTest, FindListsWhatThePickerShowsInListOrder) {
    ASSERT_EQ(prompts({"move", "3", "0"}).exitCode, 0);
    // "ey" aligns with "Key points" and "Explain simply", any case.
    EXPECT_THAT(listed({"find", "EY"}), ElementsAre("2:2", "3:0"));
    EXPECT_THAT(listed({"find", "zebra"}), ElementsAre());
    ASSERT_EQ(prompts({"edit", "2", "--disable"}).exitCode, 0);
    EXPECT_THAT(listed({"find", "ey"}), ElementsAre("3:0"));
    EXPECT_EQ(listed({"find", ""}).size(), 7u);
}

TEST_F(PromptsCommandTest, BadArgumentsExitTwoAndFailuresCarryTheirWords) {
    for (const auto& args :
         std::vector<std::vector<std::string>>{{},
                                               {"rename", "1"},
                                               {"add", "Only a name"},
                                               {"edit", "1"},
                                               {"edit", "1", "--enable", "--disable"},
                                               {"edit", "one", "--enable"},
                                               {"move", "1", "-1"},
                                               {"remove"},
                                               {"find"},
                                               {"list", "--sort", "colour"}}) {
        const auto result = prompts(args);
        EXPECT_EQ(result.exitCode, 2) << ::testing::PrintToString(args) << result.out;
        EXPECT_THAT(result.err, HasSubstr("Run 'folvane-cli help'"));
    }
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"edit", "99", "--enable"}, {"remove", "1", "99"}, {"move", "99", "0"}}) {
        const auto missing = prompts(args);
        EXPECT_EQ(missing.exitCode, 1);
        EXPECT_EQ(missing.err, "There is no prompt with the id 99.\n");
    }
    EXPECT_EQ(listed().size(), 8u);

    SqliteConnection::open(dataDir + "/db.sqlite3")
        ->execute(
            "CREATE TRIGGER refuse BEFORE UPDATE ON prompts WHEN OLD.id = 3 "
            "BEGIN SELECT RAISE(ABORT, 'The prompt is locked'); END");
    const auto refused = prompts({"move", "8", "0"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("The prompt is locked"));
}

}  // namespace
}  // namespace folvane
