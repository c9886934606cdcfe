#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "store/DocumentStore.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

class DocumentStoreTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    DocumentStore store{db};

    int64_t bookmark(const std::string& name) {
        Bookmark row;
        row.filePath = "file://" + (dir / name);
        row.hash = "0123456789abcdef0123456789abcdef";
        return store.insertBookmark(row);
    }
    static std::vector<IndexItem> items(const std::string& prefix, int count) {
        std::vector<IndexItem> made;
        for (int i = 0; i < count; ++i) {
            made.push_back({prefix + std::to_string(i), "text", {0.5f, 0.5f}, {}});
        }
        return made;
    }
};

TEST_F(DocumentStoreTest, ReplacingRowsSwapsThemInOneTransactionOrNotAtAll) {
    const int64_t id = bookmark("a.pdf");
    store.replaceIndexItems(id, items("old", 3), "native");
    EXPECT_EQ(store.bookmark(id)->indexingStatus, "indexed");

    // A write that fails halfway (here a trigger, in life a full disk) leaves
    // the old rows answering.
    store.setIndexingStatus(id, "none");
    db->execute(
        "CREATE TRIGGER full BEFORE INSERT ON embeddings WHEN NEW.embeddingModel = 'doomed' "
        "BEGIN SELECT RAISE(ABORT, 'database or disk is full'); END");
    EXPECT_THROW(store.replaceIndexItems(id, items("new", 2), "doomed"), DatabaseError);
    auto rows = store.indexItems(id);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].id, "old0");
    EXPECT_EQ(store.bookmark(id)->indexingStatus, "none");

    store.replaceIndexItems(id, items("new", 2), "distilbert");
    rows = store.indexItems(id);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].id, "new1");
    EXPECT_EQ(rows[1].embeddingModel, "distilbert");
}

TEST_F(DocumentStoreTest, OneProcessAtATimeMayIndexADocumentAndACrashFreesIt) {
    const int64_t id = bookmark("a.pdf");
    int toParent[2];
    int toChild[2];
    ASSERT_EQ(pipe(toParent), 0);
    ASSERT_EQ(pipe(toChild), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The other process: claim, say so, and end without a word when told.
        auto claim = DocumentStore(SqliteConnection::open(dir / "db.sqlite3")).tryClaimIndexing(id);
        const char held = claim ? 'y' : 'n';
        (void)!write(toParent[1], &held, 1);
        char go;
        (void)!read(toChild[0], &go, 1);
        _exit(0);
    }
    char held = 0;
    ASSERT_EQ(read(toParent[0], &held, 1), 1);
    EXPECT_EQ(held, 'y');
    EXPECT_FALSE(store.tryClaimIndexing(id)) << "held by the other process";
    EXPECT_TRUE(store.tryClaimIndexing(id + 1)) << "other documents are free";

    const char go = 'g';
    ASSERT_EQ(write(toChild[1], &go, 1), 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(store.tryClaimIndexing(id)) << "the end of the holder frees the document";

    auto mine = store.tryClaimIndexing(id);
    ASSERT_TRUE(mine);
    EXPECT_FALSE(store.tryClaimIndexing(id)) << "a second claim in the same process waits too";
    for (int fd : {toParent[0], toParent[1], toChild[0], toChild[1]}) close(fd);
}

}  // namespace
}  // namespace folvane
