#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "store/BookmarkModel.h"
#include "store/ConversationTable.h"
#include "store/CustomModelHelper.h"
#include "store/EmbeddingModel.h"
#include "store/MessageTable.h"
#include "store/PromptTable.h"
#include "support/ReadOnlyPath.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

class TableModelsTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    ConversationTable conversations{db};
    MessageTable messages{db};
    BookmarkModel bookmarks{db};
    EmbeddingModel embeddings{db};
    PromptTable prompts{db};
    CustomModelHelper customModels{db};

    std::string column(const std::string& sql) {
        auto query = db->prepare(sql);
        EXPECT_TRUE(query.step()) << sql;
        return query.isNull(0) ? "NULL" : query.text(0);
    }

    int64_t newConversation(const std::string& title = "Paper") {
        Conversation c;
        c.title = title;
        c.bookmarkId = 1;
        return conversations.insert(c);
    }

    int64_t newMessage(int64_t conversationId, const std::string& role, const std::string& text) {
        Message m;
        m.conversationId = conversationId;
        m.role = role;
        m.content = text;
        return messages.insert(m);
    }
};

TEST_F(TableModelsTest, NullColumnsReadAsTheirDefaults) {
    db->execute(
        "INSERT INTO conversations (id, title, bookmarkId, customModelId, contextLimit) "
        "VALUES (40, 'Old', 1, 0, 0)");
    const auto c = conversations.find(40).value();
    EXPECT_EQ(c.model, "gpt-3.5-turbo");
    EXPECT_DOUBLE_EQ(c.temperature, 0.7);
    EXPECT_EQ(c.languageCode, "");
    EXPECT_TRUE(c.extraBookmarkIds.empty());
    EXPECT_FALSE(c.useWebSearch);
    EXPECT_FALSE(c.latestMessage);
    EXPECT_EQ(c.messageCount, 0);
    EXPECT_EQ(c.contextSince, distantPast());
    EXPECT_DOUBLE_EQ(c.presencePenalty, 0);

    db->execute(
        "INSERT INTO messages (id, conversationId, role, content) VALUES (70, 40, 'user', 'hi')");
    const auto m = messages.find(70).value();
    EXPECT_EQ(m.model, "gpt-3.5-turbo");
    EXPECT_FALSE(m.references);
    EXPECT_TRUE(m.imageURLs.empty());
}

TEST_F(TableModelsTest, JsonColumnsAreCompactWithEscapedSlashes) {
    Conversation c;
    c.title = "T";
    c.bookmarkId = 1;
    const int64_t empty = conversations.insert(c);
    c.extraBookmarkIds = {3, 7};
    const int64_t two = conversations.insert(c);
    EXPECT_EQ(
        column("SELECT extraBookmarkIds FROM conversations WHERE id = " + std::to_string(empty)),
        "[]");
    EXPECT_EQ(conversations.find(two)->extraBookmarkIds, (std::vector<int64_t>{3, 7}));
    conversations.addExtraBookmark(two, 9);
    conversations.removeExtraBookmark(two, 3);
    EXPECT_EQ(conversations.find(two)->allBookmarkIds(), (std::vector<int64_t>{1, 7, 9}));

    Message m;
    m.conversationId = two;
    m.role = "assistant";
    m.content = "answer";
    m.imageURLs = {"file:///tmp/a b.png"};
    m.references = std::vector<Reference>{{"chunk-1", 3, 12, 0.5f}, {"chunk-2", 7, {}, {}}};
    const int64_t id = messages.insert(m);
    const std::string where = " FROM messages WHERE id = " + std::to_string(id);
    EXPECT_EQ(column("SELECT imageURLs" + where), R"(["file:\/\/\/tmp\/a b.png"])");
    EXPECT_EQ(column("SELECT \"references\"" + where),
              R"([{"id":"chunk-1","bookmarkId":3,"page":12,"score":0.5},)"
              R"({"id":"chunk-2","bookmarkId":7}])");
    const auto back = messages.find(id).value();
    EXPECT_EQ(back.imageURLs, m.imageURLs);
    EXPECT_EQ(back.references, m.references);

    Message plain = m;
    plain.references.reset();
    plain.imageURLs.clear();
    const int64_t plainId = messages.insert(plain);
    EXPECT_EQ(column("SELECT \"references\" FROM messages WHERE id = " + std::to_string(plainId)),
              "NULL");
    EXPECT_EQ(column("SELECT imageURLs FROM messages WHERE id = " + std::to_string(plainId)), "[]");
}

TEST_F(TableModelsTest, CostIsAddedByTheStatement) {
    const int64_t id = newConversation();
    conversations.addCost(id, 0.25);
    conversations.addCost(id, 0.5);
    EXPECT_DOUBLE_EQ(conversations.find(id)->cost, 0.75);

    // An old row with a NULL total keeps it NULL under the addition and reads 0.
    db->execute("UPDATE conversations SET cost = NULL WHERE id = " + std::to_string(id));
    conversations.addCost(id, 1.0);
    EXPECT_EQ(column("SELECT cost FROM conversations WHERE id = " + std::to_string(id)), "NULL");
    EXPECT_DOUBLE_EQ(conversations.find(id)->cost, 0);
}

TEST_F(TableModelsTest, DeletingAChatKeepsItsDocumentsAndVectors) {
    const int64_t id = newConversation();
    newMessage(id, "user", "q");
    embeddings.insert({Embedding{{}, IndexItem{"c1", "text", {1, 2}, {}}, 1, "native"}});
    conversations.remove(id);
    EXPECT_FALSE(conversations.find(id));
    EXPECT_TRUE(messages.getAll(id).empty());
    EXPECT_TRUE(bookmarks.find(1));
    EXPECT_EQ(embeddings.getAll(1).size(), 1u);
}

TEST_F(TableModelsTest, ListCountsPreviewAndMarkersFollowTheMessages) {
    const int64_t id = newConversation();
    const int64_t first = newMessage(id, "user", "first question");
    const int64_t answer = newMessage(id, "assistant", "an answer");
    const auto marker = messages.insertMarker(id, "reset-context");
    EXPECT_EQ(marker.role, "application");
    EXPECT_EQ(marker.name, "reset-context");
    auto c = conversations.find(id).value();
    EXPECT_EQ(c.messageCount, 2);
    EXPECT_EQ(c.latestMessage, "an answer");
    messages.deleteMarkers(id, "other");
    EXPECT_EQ(messages.getAll(id).size(), 3u);
    messages.deleteMarkers(id, "reset-context");
    EXPECT_EQ(messages.getAll(id).size(), 2u);

    messages.updateContent(answer, "a better answer");
    EXPECT_EQ(conversations.find(id)->latestMessage, "a better answer");
    messages.remove(answer);
    c = conversations.find(id).value();
    EXPECT_EQ(c.messageCount, 1);
    EXPECT_EQ(c.latestMessage, "first question");
    newMessage(id, "user", "b");
    messages.deleteAfter(id, first);
    ASSERT_EQ(messages.getAll(id).size(), 1u);
    EXPECT_EQ(messages.getAll(id).front().id, first);
}

TEST_F(TableModelsTest, ReadsOfAllRowsReturnWhatPrecedesABrokenRow) {
    // Three chats updated at known times; the middle one in the order is broken.
    for (auto [id, updated, extra] : {std::tuple{11, "2024-01-03 00:00:00", "[]"},
                                      std::tuple{12, "2024-01-02 00:00:00", "not json"},
                                      std::tuple{13, "2024-01-01 00:00:00", "[]"}}) {
        db->prepare(
              "INSERT INTO conversations (id, title, bookmarkId, extraBookmarkIds, updatedAt) "
              "VALUES (?, 'x', 1, ?, ?)")
            .bind(id, extra, updated)
            .run();
    }
    const auto all = conversations.getAll(10);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].id, 11);
    EXPECT_THROW(conversations.find(12), DatabaseError);
}

TEST_F(TableModelsTest, BookmarksAreFoundByPathAndDigestTogether) {
    Bookmark b;
    b.filePath = "file:///docs/a.pdf";
    b.data = {1, 2, 3};
    b.hash = "aaaa";
    const int64_t id = bookmarks.insert(b);
    EXPECT_EQ(bookmarks.find("file:///docs/a.pdf", "aaaa")->id, id);
    EXPECT_FALSE(bookmarks.find("file:///docs/a.pdf", "bbbb"));
    EXPECT_FALSE(bookmarks.find("file:///docs/b.pdf", "aaaa"));

    bookmarks.updateIndexingStatus(id, "indexed");
    bookmarks.updateData(id, {9}, "cccc");
    const auto stored = bookmarks.find(id).value();
    EXPECT_EQ(stored.indexingStatus, "indexed");
    EXPECT_EQ(stored.data, (std::vector<uint8_t>{9}));
    EXPECT_EQ(stored.hash, "cccc");
    EXPECT_EQ(stored.filePath, "file:///docs/a.pdf");
    EXPECT_EQ(bookmarks.getAll({id, 1}).size(), 2u);
}

TEST_F(TableModelsTest, EmbeddingsRoundTripInRowOrderAcrossStatementBatches) {
    std::vector<Embedding> rows;
    for (int i = 0; i < 4500; ++i) {
        rows.push_back(Embedding{{},
                                 IndexItem{"id-" + std::to_string(i),
                                           "text/" + std::to_string(i),
                                           {float(i), 0.5f},
                                           {{"bookmarkId", "4"}, {"page", "Optional(2)"}}},
                                 4,
                                 "native"});
    }
    embeddings.insert(rows);
    const auto back = embeddings.getAll(4);
    ASSERT_EQ(back.size(), rows.size());
    EXPECT_EQ(back[4499].id, "id-4499");
    EXPECT_EQ(back[4499].text, "text/4499");
    EXPECT_EQ(back[4499].embedding, (std::vector<float>{4499.f, 0.5f}));
    EXPECT_EQ(back[0].metadata.at("page"), "Optional(2)");
    EXPECT_EQ(back[0].embeddingModel, "native");

    embeddings.setEmbeddingModel(4, "text-embedding-ada-002");
    EXPECT_EQ(embeddings.getAll(4)[0].embeddingModel, "text-embedding-ada-002");
    embeddings.remove(4);
    EXPECT_TRUE(embeddings.getAll(4).empty());
}

TEST_F(TableModelsTest, PromptsCarryTheirIconAndAreDeletedBySet) {
    const auto seeded = prompts.getAll();
    ASSERT_FALSE(seeded.empty());
    for (const auto& p : seeded) EXPECT_EQ(p.icon, "💬");
    Prompt p;
    p.name = "Mine";
    p.prompt = "Do it";
    p.enable = false;
    p.sortOrder = 3;
    const int64_t id = prompts.insert(p);
    auto stored = prompts.find(id).value();
    EXPECT_EQ(stored.name, "Mine");
    EXPECT_FALSE(stored.enable);
    stored.enable = true;
    prompts.update(id, stored);
    EXPECT_TRUE(prompts.find(id)->enable);
    prompts.remove({id, seeded.front().id});
    EXPECT_EQ(prompts.getAll().size(), seeded.size() - 1);
}

TEST_F(TableModelsTest, SoftDeletedCustomModelsAreNoLongerFound) {
    CustomModel m;
    m.provider = "Ollama";
    m.name = "Local";
    m.apiEndpoint = "http://localhost:11434/v1";
    m.modelId = "llama3";
    m.contextLength = 8192;
    m.headers = std::vector<CustomModelHeaderEntry>{{"X-Token", "abc"}};
    m.createdAt = parseDate("2024-05-01 10:00:00").value();
    m.updatedAt = m.createdAt;
    const int64_t id = customModels.insert(m);
    auto stored = customModels.find(id).value();
    EXPECT_EQ(stored.headers, m.headers);
    EXPECT_EQ(stored.createdAt, m.createdAt);

    customModels.update(id, "Renamed", "http://127.0.0.1:8080/v1", "qwen", 4096, std::nullopt,
                        false);
    stored = customModels.find(id).value();
    EXPECT_EQ(stored.name, "Renamed");
    EXPECT_EQ(stored.provider, "Ollama");
    EXPECT_FALSE(stored.headers);
    EXPECT_FALSE(stored.useStream);

    customModels.remove(id);
    EXPECT_FALSE(customModels.find(id));
    EXPECT_TRUE(customModels.getAll().empty());
    EXPECT_EQ(column("SELECT deleted FROM custom_models WHERE id = " + std::to_string(id)), "1");
    customModels.update(id, "Ghost", "", "", 0, std::nullopt, true);
    EXPECT_EQ(column("SELECT name FROM custom_models WHERE id = " + std::to_string(id)), "Renamed");
}

TEST(TableModelsWriteFailureTest, AWriteTheDiskRefusesThrowsTheCause) {
    struct Case {
        const char* name;
        const char* words;
    };
    for (const Case& c : {Case{"file", "db.sqlite3 cannot be written"},
                          Case{"folder", "the folder of db.sqlite3 cannot be written"},
                          Case{"disk", "the disk is full"}}) {
        SCOPED_TRACE(c.name);
        test::TempDir dir;
        const std::string path = dir / "db.sqlite3";
        test::makeDatabase(path).reset();
        const std::string name = c.name;
        std::unique_ptr<test::ReadOnlyPath> readOnly;
        if (name != "disk") {
            readOnly = std::make_unique<test::ReadOnlyPath>(
                name == "file" ? std::filesystem::path(path) : dir.path());
        }
        if (readOnly && !readOnly->active()) GTEST_SKIP() << "cannot make a read-only path here";

        auto db = SqliteConnection::open(path);
        if (name == "disk") {
            // The file may not grow by a page: SQLite's own "disk is full".
            auto pages = db->prepare("PRAGMA page_count");
            pages.step();
            db->execute("PRAGMA max_page_count = " + std::to_string(pages.int64(0)));
        }
        ConversationTable conversations{db};
        Conversation chat;
        chat.title = std::string(8192, 't');
        chat.bookmarkId = 1;
        EXPECT_THAT([&] { conversations.insert(chat); },
                    ::testing::ThrowsMessage<DatabaseError>(::testing::HasSubstr(c.words)));
        EXPECT_THAT([&] { conversations.updateTitle(1, chat.title); },
                    ::testing::ThrowsMessage<DatabaseError>(::testing::HasSubstr(c.words)));
        EXPECT_EQ(conversations.find(1).value().title, "Example Chat");
    }
}

}  // namespace
}  // namespace folvane
