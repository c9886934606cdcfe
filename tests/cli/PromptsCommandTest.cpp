// folvane-cli prompts, run as a program against a fresh data folder whose
// seed holds eight prompts, ids 1 to 8, numbered 0 to 7.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "store/SqliteConnection.h"
#include "support/CliUser.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PromptsCommandTest : public test::CliUser {
  protected:
    test::CliResult prompts(const std::vector<std::string>& args) const {
        std::vector<std::string> all{"prompts"};
        all.insert(all.end(), args.begin(), args.end());
        return cli(all);
    }

    std::vector<nlohmann::json> listed(std::vector<std::string> args = {"list"}) const {
        args.push_back("--json");
        const auto result = prompts(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return jsonLines(result.out);
    }

    // "id:sortOrder" of each row as listed.
    std::vector<std::string> order(std::vector<std::string> args = {"list"}) const {
        std::vector<std::string> rows;
        for (const auto& row : listed(std::move(args)))
            rows.push_back(std::to_string(row["id"].get<int64_t>()) + ":" +
                           std::to_string(row["sortOrder"].get<int>()));
        return rows;
    }

    std::string added(const std::vector<std::string>& args) const {
        const auto result = prompts(args);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out.substr(0, result.out.find('\n'));
    }
};

TEST_F(PromptsCommandTest, AddDuplicateEditAndRemoveChangeTheStoredLibrary) {
    const auto seed = listed();
    ASSERT_EQ(seed.size(), 8u);
    EXPECT_EQ(seed[0]["name"], "Summarize");
    EXPECT_EQ(seed[0]["icon"], "💬");

    const std::string translate = added({"add", "Translate", "Translate this into French."});
    const std::string copy = added({"duplicate", translate});
    EXPECT_EQ(translate, "9");
    EXPECT_EQ(copy, "10");
    // New prompts come last, numbered 0 until a move renumbers them.
    EXPECT_THAT(order(),
                ElementsAre("1:0", "2:1", "3:2", "4:3", "5:4", "6:5", "7:6", "8:7", "9:0", "10:0"));

    const auto edit =
        prompts({"edit", copy, "--name", "Traduire", "--text", "En français.", "--disable"});
    ASSERT_EQ(edit.exitCode, 0) << edit.err;
    const auto rows = listed();
    EXPECT_EQ(rows[9]["name"], "Traduire");
    EXPECT_EQ(rows[9]["prompt"], "En français.");
    EXPECT_EQ(rows[9]["enable"], false);
    EXPECT_EQ(rows[8]["name"], "Translate");

    const auto table = prompts({"list"});
    EXPECT_THAT(table.out, HasSubstr("10    no  0      Traduire                  En français.\n"));

    // Removing leaves the other numbers as they were.
    ASSERT_EQ(prompts({"remove", "2", translate}).exitCode, 0);
    EXPECT_THAT(order(), ElementsAre("1:0", "3:2", "4:3", "5:4", "6:5", "7:6", "8:7", "10:0"));
}

TEST_F(PromptsCommandTest, MoveRenumbersEveryRowAndFindKeepsTheListOrder) {
    const auto moved = prompts({"move", "8", "1"});
    ASSERT_EQ(moved.exitCode, 0) << moved.err;
    EXPECT_THAT(moved.out, HasSubstr("1     yes 0      Summarize"));
    EXPECT_THAT(moved.out, HasSubstr("8     yes 1      Quiz me"));
    EXPECT_LT(moved.out.find("Quiz me"), moved.out.find("Key points"));
    // A new run lists in row order; the stored numbers carry the move.
    EXPECT_THAT(order(), ElementsAre("1:0", "2:2", "3:3", "4:4", "5:5", "6:6", "7:7", "8:1"));
    EXPECT_THAT(order({"list", "--sort", "sortOrder"}),
                ElementsAre("1:0", "8:1", "2:2", "3:3", "4:4", "5:5", "6:6", "7:7"));
    EXPECT_EQ(order({"list", "--sort", "name", "--descending"}).front(), "1:0");

    // "ey" aligns with "Key points" and "Explain simply"; "qm" only with "Quiz me".
    const auto idsFound = [&](const std::string& query) {
        std::vector<int64_t> ids;
        for (const auto& row : listed({"find", query})) ids.push_back(row["id"]);
        return ids;
    };
    EXPECT_THAT(idsFound("ey"), ElementsAre(2, 3));
    EXPECT_THAT(idsFound("QM"), ElementsAre(8));
    EXPECT_THAT(idsFound("zebra"), ElementsAre());
    ASSERT_EQ(prompts({"edit", "2", "--disable"}).exitCode, 0);
    EXPECT_THAT(idsFound("ey"), ElementsAre(3));
    EXPECT_EQ(idsFound("").size(), 7u);
}

TEST_F(PromptsCommandTest, BadArgumentsExitTwoAndFailuresCarryTheirWords) {
    const std::vector<std::vector<std::string>> usageErrors = {
        {},
        {"rename", "1"},
        {"add", "Only a name"},
        {"edit", "1"},
        {"edit", "1", "--enable", "--disable"},
        {"edit", "one", "--enable"},
        {"move", "1"},
        {"move", "1", "-1"},
        {"remove"},
        {"find"},
        {"list", "--sort", "colour"},
        {"list", "--descending"},
    };
    for (const auto& args : usageErrors) {
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

    // The store refuses a row half-way through a move: the words reach the
    // user and the rows before it keep their new numbers.
    SqliteConnection::open(dataDir + "/db.sqlite3")
        ->execute(
            "CREATE TRIGGER refuse BEFORE UPDATE ON prompts WHEN OLD.id = 3 "
            "BEGIN SELECT RAISE(ABORT, 'The prompt is locked'); END");
    const auto refused = prompts({"move", "8", "0"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("The prompt is locked"));
    EXPECT_THAT(order(), ElementsAre("1:1", "2:2", "3:2", "4:3", "5:4", "6:5", "7:6", "8:0"));
}

}  // namespace
}  // namespace folvane
