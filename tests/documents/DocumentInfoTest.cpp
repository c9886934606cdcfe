#include <gtest/gtest.h>

#include <filesystem>

#include "chat/AppChatService.h"
#include "documents/DocumentDigest.h"
#include "documents/DocumentInfo.h"
#include "documents/LoadingState.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

class DocumentInfoTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};

    Bookmark stored(const std::string& name, const std::string& bytes = "%PDF-1.4 one") {
        test::writeFile(dir / name, bytes);
        const auto chat = service.createConversation({fileUrlFromPath(dir / name)});
        return *service.documentStore().bookmark(chat.bookmarkId);
    }
};

TEST_F(DocumentInfoTest, TheStateFollowsTheStoredStatus) {
    const Bookmark bookmark = stored("a.pdf");
    const struct {
        std::string status;
        IndexingState notIndexed;
        IndexingState expected;
    } cases[] = {{"indexed", IndexingState::none, IndexingState::indexed},
                 {"indexed", IndexingState::indexing, IndexingState::indexed},
                 {"indexing", IndexingState::none, IndexingState::none},
                 {"none", IndexingState::indexing, IndexingState::indexing}};
    for (const auto& c : cases) {
        Bookmark b = bookmark;
        b.indexingStatus = c.status;
        const auto info = documentInfo(b, c.notIndexed);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->indexingState, c.expected) << c.status;
        EXPECT_EQ(info->fileUrl, fileUrlFromPath(dir / "a.pdf"));
        EXPECT_FALSE(info->isStale);
        EXPECT_EQ(info->errorMessage, "");
        EXPECT_FALSE(info->fileSize);
    }
}

TEST_F(DocumentInfoTest, TheTwoStaleCasesDiffer) {
    Bookmark moved = stored("moved.pdf");
    std::filesystem::remove(dir / "moved.pdf");
    const auto stale = documentInfo(moved);
    ASSERT_TRUE(stale);
    EXPECT_TRUE(stale->isStale);
    EXPECT_EQ(stale->errorMessage, "Your document has been moved or deleted.");

    Bookmark unreadable = stored("b.pdf");
    unreadable.data = {'x', 'y'};
    const auto unresolved = documentInfo(unreadable);
    ASSERT_TRUE(unresolved);
    EXPECT_TRUE(unresolved->isStale);
    EXPECT_EQ(unresolved->errorMessage, "");
    EXPECT_EQ(unresolved->fileUrl, unreadable.filePath);

    Bookmark lost = unreadable;
    lost.filePath = "no url here";
    EXPECT_FALSE(documentInfo(lost));
    EXPECT_EQ(documentInfos({moved, lost, unreadable}).size(), 2u);
}

TEST_F(DocumentInfoTest, UpdatingABookmarkPointsTheStaleDocumentToTheNewFile) {
    const Bookmark bookmark = stored("old.pdf");
    service.documentStore().replaceIndexItems(bookmark.id, {IndexItem{"row", "text", {1, 2}, {}}},
                                              "native");
    std::filesystem::remove(dir / "old.pdf");
    std::vector<DocumentInfo> documents =
        documentInfos({*service.documentStore().bookmark(bookmark.id)});
    ASSERT_TRUE(documents[0].isStale);

    test::writeFile(dir / "new/place.pdf", "%PDF-1.4 other content");
    const std::string newUrl = fileUrlFromPath(dir / "new/place.pdf");
    updateBookmark(service.documentStore(), bookmark.id, newUrl, documents);

    const Bookmark row = *service.documentStore().bookmark(bookmark.id);
    EXPECT_EQ(row.filePath, bookmark.filePath);
    EXPECT_EQ(row.hash, documentDigest(dir / "new/place.pdf"));
    EXPECT_EQ(FileBookmark::resolve(row.data).path, dir / "new/place.pdf");
    ASSERT_EQ(documents.size(), 1u);
    EXPECT_EQ(documents[0].fileUrl, newUrl);
    EXPECT_FALSE(documents[0].isStale);
    EXPECT_EQ(documents[0].errorMessage, "");
    EXPECT_EQ(documents[0].indexingState, IndexingState::indexed);
    EXPECT_EQ(documents[0].bookmark, row);
    EXPECT_EQ(service.documentStore().indexItems(bookmark.id).size(), 1u);

    // A file that is not there changes nothing.
    const auto before = documents;
    EXPECT_THROW(updateBookmark(service.documentStore(), bookmark.id,
                                fileUrlFromPath(dir / "gone.pdf"), documents),
                 FileError);
    EXPECT_EQ(documents, before);
    EXPECT_EQ(*service.documentStore().bookmark(bookmark.id), row);
}

}  // namespace
}  // namespace folvane
