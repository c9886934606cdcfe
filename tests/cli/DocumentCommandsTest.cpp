#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "store/SqliteConnection.h"
#include "support/CliUser.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

// The index and document commands end to end, on the on-device embedder. A
// chat with a custom model needs no API key to be indexed.
class DocumentCommandsTest : public test::CliUser {
  protected:
    std::string pdf(const std::string& name, int pages) {
        std::vector<std::string> texts;
        for (int page = 1; page <= pages; ++page) {
            texts.push_back("Page " + std::to_string(page) + " of " + name +
                            " describes the tides along the northern coast.");
        }
        test::writeFile(home / name, test::makePdf(texts));
        return home / name;
    }

    std::string database() { return dataDir + "/db.sqlite3"; }

    int64_t rowCount(const std::string& where = "1") {
        auto db = SqliteConnection::open(database());
        auto query = db->prepare("SELECT COUNT(*) FROM embeddings WHERE " + where);
        query.step();
        return query.int64(0);
    }
};

TEST_F(DocumentCommandsTest, IndexEmbedsOnceAndThenLoadsTheRows) {
    const std::string chat = openKeylessChat({pdf("a.pdf", 3)});
    auto first = cli({"index", chat});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    EXPECT_NE(first.out.find("\tindexed\tfile://"), std::string::npos) << first.out;
    EXPECT_NE(first.out.find("3 chunks ready"), std::string::npos) << first.out;
    EXPECT_NE(first.out.find("3 pages embedded"), std::string::npos) << first.out;
    EXPECT_NE(first.err.find("%"), std::string::npos);
    EXPECT_EQ(rowCount(), 3);

    auto second = cli({"index", chat});
    ASSERT_EQ(second.exitCode, 0) << second.err;
    EXPECT_NE(second.out.find("3 chunks ready"), std::string::npos) << second.out;
    EXPECT_EQ(second.out.find("pages embedded"), std::string::npos) << second.out;
    EXPECT_EQ(rowCount(), 3);
}

TEST_F(DocumentCommandsTest, AddRemoveAndReprocessADocument) {
    const std::string chat = openKeylessChat({pdf("a.pdf", 1)});
    auto added = cli({"add-documents", chat, pdf("b.pdf", 2)});
    ASSERT_EQ(added.exitCode, 0) << added.err;
    const std::string bookmark = added.out.substr(0, added.out.find('\t'));
    EXPECT_NE(added.out.find("\tindexed\t"), std::string::npos) << added.out;
    EXPECT_EQ(rowCount("bookmarkId = " + bookmark), 2);

    auto again = cli({"reprocess", chat, bookmark});
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(rowCount("bookmarkId = " + bookmark), 2);

    auto removed = cli({"remove-document", chat, bookmark});
    ASSERT_EQ(removed.exitCode, 0) << removed.err;
    EXPECT_EQ(rowCount("bookmarkId = " + bookmark), 2);  // the rows stay for other chats
    auto index = cli({"index", chat});
    EXPECT_NE(index.out.find("1 chunks ready"), std::string::npos) << index.out;

    auto missing = cli({"remove-document", chat, bookmark});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_NE(missing.err.find("has no document with the id " + bookmark), std::string::npos)
        << missing.err;
}

TEST_F(DocumentCommandsTest, StoredRowsThatCannotBeReadFailTheirDocumentWithTheReason) {
    const std::string chat = openKeylessChat({pdf("a.pdf", 1), pdf("b.pdf", 1)});
    ASSERT_EQ(cli({"index", chat}).exitCode, 0);
    std::string bookmark;
    {
        auto db = SqliteConnection::open(database());
        auto first = db->prepare("SELECT MIN(bookmarkId) FROM embeddings");
        ASSERT_TRUE(first.step());
        bookmark = std::to_string(first.int64(0));
    }
    SqliteConnection::open(database())
        ->execute("UPDATE embeddings SET indexItem = '{\"id\": 7}' WHERE bookmarkId = " + bookmark);

    // The other document still answers, and the failure is not reported as done.
    auto one = cli({"index", chat});
    EXPECT_EQ(one.exitCode, 1) << one.err;
    EXPECT_NE(one.err.find("1 of 2 documents could not be indexed"), std::string::npos) << one.err;
    EXPECT_NE(one.out.find(bookmark + "\tfailed\t"), std::string::npos) << one.out;
    EXPECT_NE(one.out.find("1 chunks ready"), std::string::npos) << one.out;
    EXPECT_NE(one.err.find("Invalid index item in the database"), std::string::npos) << one.err;

    SqliteConnection::open(database())->execute("UPDATE embeddings SET indexItem = 'not json'");
    auto none = cli({"index", chat});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_NE(none.err.find("None of your documents could be processed."), std::string::npos)
        << none.err;
}

TEST_F(DocumentCommandsTest, ADocumentCutShortIsIndexedWithAWarning) {
    const std::string whole = test::makePdf(
        {"The first page speaks of tides and harbours.", "The second page speaks of lighthouses."});
    const std::string cut = whole.substr(0, whole.rfind("xref"));
    test::writeFile(home / "tail.pdf", cut);
    test::writeFile(home / "added.pdf", cut);
    const std::string warning =
        "is damaged or cut short: some of its pages or text may be missing.";

    const std::string chat = openKeylessChat({home / "tail.pdf"});
    const auto indexed = cli({"index", chat});
    EXPECT_EQ(indexed.exitCode, 0) << indexed.err;
    EXPECT_NE(indexed.out.find("\tindexed\t"), std::string::npos) << indexed.out;
    EXPECT_NE(indexed.err.find("tail.pdf: “tail.pdf” " + warning), std::string::npos)
        << indexed.err;

    const auto added = cli({"add-documents", chat, home / "added.pdf"});
    EXPECT_EQ(added.exitCode, 0) << added.err;
    EXPECT_NE(added.err.find("“added.pdf” " + warning), std::string::npos) << added.err;
}

TEST_F(DocumentCommandsTest, ErrorsSpeakToTheUser) {
    const struct {
        std::vector<std::string> args;
        std::string words;
    } cases[] = {
        {{"index"}, "index needs a chat id"},
        {{"index", "42"}, "No chat has the id 42."},
        {{"reprocess", "1"}, "reprocess needs a chat id and a document id"},
        {{"add-documents", "1", home / "nothing.pdf"}, "nothing.pdf"},
    };
    for (const auto& c : cases) {
        const auto result = cli(c.args);
        EXPECT_NE(result.exitCode, 0) << c.args[0];
        EXPECT_NE(result.err.find(c.words), std::string::npos) << result.err;
    }
    // Without a key or a custom model the chat is not set up.
    const auto opened = cli({"open", pdf("plain.pdf", 1)});
    const auto result = cli({"index", opened.out.substr(0, opened.out.find('\n'))});
    EXPECT_NE(result.exitCode, 0);
    EXPECT_NE(result.err.find("not set up yet"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace folvane
