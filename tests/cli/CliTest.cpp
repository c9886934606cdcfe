#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "documents/DocumentDigest.h"
#include "platform/FileUrl.h"
#include "store/SqliteConnection.h"
#include "support/CliUser.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class CliTest : public test::CliUser {
  protected:
    std::string pdf(const std::string& name, const std::string& body = "a document") {
        const std::string path = home / name;
        test::writeFile(path, "%PDF-1.4\n% " + body + "\n");
        return path;
    }
};

TEST_F(CliTest, AFirstStartShowsTheDemoChatFromAMigratedStore) {
    const auto result = cli({"chats"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Example Chat"));

    const auto json = nlohmann::json::parse(cli({"chats", "--json"}).out);
    EXPECT_EQ(json["id"], 1);
    EXPECT_EQ(json["title"], "Example Chat");
    EXPECT_EQ(json["documents"], 1);
    EXPECT_EQ(json["messages"], 2);

    auto db = SqliteConnection::open(dataDir + "/db.sqlite3");
    EXPECT_EQ(db->userVersion(), 5);
    auto bookmark = db->prepare("SELECT filePath, hash FROM bookmarks WHERE id = 1");
    ASSERT_TRUE(bookmark.step());
    const std::string demo = dataDir + "/Bitcoin Whitepaper.pdf";
    EXPECT_EQ(bookmark.text(0), fileUrlFromPath(demo));
    EXPECT_EQ(bookmark.text(1), documentDigest(demo));

    const auto settings = nlohmann::json::parse(test::readFile(configDir + "/settings.json"));
    for (const char* key : {"showPageReferences", "useMarkdown", "alwaysOnTop", "useLaTeX",
                            "textSizeAdjustment", "customModelId"}) {
        EXPECT_TRUE(settings.contains(key)) << key;
    }
    EXPECT_EQ(settings["showPageReferences"], true);
}

TEST_F(CliTest, TheDataDirectoryCanBeChosen) {
    const auto result = cli({"--data-dir", home / "elsewhere", "chats"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(std::filesystem::exists(home / "elsewhere/db.sqlite3"));
    EXPECT_FALSE(std::filesystem::exists(dataDir + "/db.sqlite3"));
}

TEST_F(CliTest, OpeningTheSameDocumentReusesItsBookmarkAndOptionallyItsChat) {
    const std::string file = pdf("Quarterly Report.pdf");
    const auto first = cli({"open", file});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    const auto second = cli({"open", file});
    EXPECT_NE(first.out, second.out);

    ASSERT_EQ(cli({"settings", "set", "continueLastConversation", "true"}).exitCode, 0);
    const auto third = cli({"open", file});
    EXPECT_EQ(third.out, second.out);

    auto db = SqliteConnection::open(dataDir + "/db.sqlite3");
    auto count = db->prepare("SELECT COUNT(*) FROM bookmarks WHERE filePath = ?");
    count.bind(fileUrlFromPath(file));
    ASSERT_TRUE(count.step());
    EXPECT_EQ(count.int64(0), 1);
    EXPECT_THAT(cli({"chats"}).out, HasSubstr("Quarterly Report"));
}

TEST_F(CliTest, MessagesAsJsonCarryTheCodingKeysInOrder) {
    const auto result = cli({"messages", "1", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const auto first = nlohmann::ordered_json::parse(result.out.substr(0, result.out.find('\n')));
    std::vector<std::string> keys;
    for (const auto& item : first.items()) keys.push_back(item.key());
    EXPECT_THAT(keys, ::testing::ElementsAre("id", "conversationId", "role", "content", "model",
                                             "imageURLs", "createdAt", "updatedAt"));
    EXPECT_EQ(first["role"], "user");
}

TEST_F(CliTest, BadInputGetsAClearMessageAndAFailingStatus) {
    const std::string notPdf = home / "notes.txt";
    test::writeFile(notPdf, "just text");
    const std::string folder = home / "folder";
    std::filesystem::create_directories(folder);
    struct Case {
        std::vector<std::string> args;
        std::string message;
        int exitCode;
    };
    const std::vector<Case> cases{
        {{"open", home / "missing.pdf"}, "couldn’t be opened", 1},
        {{"open", notPdf}, "is not a PDF document", 1},
        {{"open", folder}, "not a regular file", 1},
        {{"open"}, "open needs at least one PDF file", 2},
        {{"messages", "999"}, "No chat has the id 999.", 1},
        {{"messages", "abc"}, "Invalid chat id: abc", 2},
        {{"settings", "get", "noSuchSetting"}, "Unknown setting: noSuchSetting", 2},
        {{"frobnicate"}, "Unknown command: frobnicate", 2},
    };
    for (const auto& c : cases) {
        const auto result = cli(c.args);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.args[0] << ": " << result.err;
        EXPECT_THAT(result.err, HasSubstr(c.message)) << c.args[0];
        EXPECT_EQ(result.out, "") << c.args[0];
    }
}

}  // namespace
}  // namespace folvane
