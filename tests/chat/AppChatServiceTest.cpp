#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "chat/AppChatServiceError.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "store/AppPreferences.h"
#include "store/BookmarkModel.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

class AppChatServiceTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};

    std::string document(const std::string& name, const std::string& bytes = "%PDF-1.4 body") {
        const std::string path = dir / name;
        test::writeFile(path, bytes.starts_with("%PDF-") ? bytes : "%PDF-1.4 " + bytes);
        return fileUrlFromPath(path);
    }

    int64_t conversationCount() {
        auto query = db->prepare("SELECT COUNT(*) FROM conversations");
        query.step();
        return query.int64(0);
    }
};

TEST_F(AppChatServiceTest, NoFilesIsAnInitErrorAndWritesNothing) {
    const auto before = conversationCount();
    EXPECT_THAT([&] { service.createConversation({}); },
                ::testing::ThrowsMessage<AppChatServiceError>("Initialization failed."));
    EXPECT_EQ(conversationCount(), before);
}

TEST_F(AppChatServiceTest, ANewChatTakesItsTitleAndSettings) {
    preferences.setDefaultModel("gpt-4o");
    const auto chat = service.createConversation({document("Annual Report 2023.pdf")});
    EXPECT_GT(chat.id, 0);
    EXPECT_EQ(chat.title, "Annual Report 2023");
    EXPECT_EQ(chat.model, "gpt-4o");
    EXPECT_DOUBLE_EQ(chat.temperature, 0.1);
    EXPECT_EQ(chat.contextLimit, 0);
    EXPECT_EQ(chat.customModelId, 0);
    EXPECT_TRUE(chat.extraBookmarkIds.empty());
    EXPECT_FALSE(chat.isDemo);
    const auto bookmark = service.documentStore().bookmark(chat.bookmarkId).value();
    EXPECT_EQ(bookmark.indexingStatus, "none");
    EXPECT_FALSE(bookmark.tags);
    EXPECT_EQ(bookmark.filePath, fileUrlFromPath(dir / "Annual Report 2023.pdf"));
    EXPECT_EQ(FileBookmark::resolve(bookmark.data).path, dir / "Annual Report 2023.pdf");
}

TEST_F(AppChatServiceTest, TheSameFileFindsTheSameBookmarkUntilItsHeadChanges) {
    const std::string url = document("a.pdf", "%PDF-" + std::string(70000, 'x'));
    const auto first = service.createConversation({url});
    const auto second = service.createConversation({url});
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(first.bookmarkId, second.bookmarkId);

    // A change behind the first 64 KiB is the same document...
    test::writeFile(dir / "a.pdf", "%PDF-" + std::string(65531, 'x') + "tail");
    EXPECT_EQ(service.createConversation({url}).bookmarkId, first.bookmarkId);
    // ...a change inside them is a new one.
    test::writeFile(dir / "a.pdf", "%PDF-y" + std::string(69994, 'x'));
    EXPECT_NE(service.createConversation({url}).bookmarkId, first.bookmarkId);
}

TEST_F(AppChatServiceTest, ContinuingTheLastChatAppliesToASingleDocumentOnly) {
    preferences.setContinueLastConversation(true);
    const std::string a = document("a.pdf"), b = document("b.pdf", "other");
    const auto first = service.createConversation({a});
    EXPECT_EQ(service.createConversation({a}).id, first.id);
    const auto pair = service.createConversation({a, b});
    EXPECT_NE(pair.id, first.id);
    EXPECT_NE(service.createConversation({a, b}).id, pair.id);

    preferences.setContinueLastConversation(false);
    EXPECT_NE(service.createConversation({a}).id, first.id);
}

TEST_F(AppChatServiceTest, ExtraDocumentsFollowTheMainOneInOrder) {
    const std::string a = document("a.pdf", "A"), b = document("b.pdf", "B"),
                      c = document("c.pdf", "C");
    const auto chat = service.createConversation({a, b, a, c});
    const auto idOf = [&](const std::string& url) {
        return BookmarkModel(db).find(url, service.documentStore().bookmark(chat.bookmarkId)->hash);
    };
    EXPECT_TRUE(idOf(a));
    ASSERT_EQ(chat.extraBookmarkIds.size(), 2u);
    EXPECT_EQ(service.documentStore().bookmark(chat.extraBookmarkIds[0])->filePath, b);
    EXPECT_EQ(service.documentStore().bookmark(chat.extraBookmarkIds[1])->filePath, c);
}

TEST_F(AppChatServiceTest, ACustomModelSetsTheModelAndAStaleOneLeavesTheDefault) {
    CustomModel custom;
    custom.provider = "Ollama";
    custom.name = "Local";
    custom.apiEndpoint = "http://localhost:11434/v1";
    custom.modelId = "llama3";
    custom.contextLength = 8192;
    const int64_t id = service.insertCustomModel(custom);
    preferences.setCustomModelId(id);
    auto chat = service.createConversation({document("a.pdf")});
    EXPECT_EQ(chat.model, "llama3");
    EXPECT_EQ(chat.customModelId, id);

    service.deleteCustomModel(id);
    chat = service.createConversation({document("b.pdf", "B")});
    EXPECT_EQ(chat.model, "gpt-3.5-turbo");
    EXPECT_EQ(chat.customModelId, id);
}

TEST_F(AppChatServiceTest, AnUnreadableFileFailsButKeepsEarlierBookmarks) {
    const std::string good = document("good.pdf");
    const std::string missing = fileUrlFromPath(dir / "missing.pdf");
    const auto before = conversationCount();
    EXPECT_THROW(service.createConversation({good, missing}), FileError);
    EXPECT_EQ(conversationCount(), before);
    EXPECT_EQ(BookmarkModel(db).getAll().size(), 2u);  // the demo and good.pdf
    EXPECT_THROW(service.createConversation({"https://example.com/a.pdf"}), FileError);
}

}  // namespace
}  // namespace folvane
