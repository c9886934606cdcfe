#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

#include "chat/AppChatService.h"
#include "documents/ChatIndexer.h"
#include "documents/ChunkEmbeddingJob.h"
#include "fakes/FakeEmbedders.h"
#include "fakes/FakeEmbeddings.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "platform/XattrFileTagStore.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

// A recognizer that never finds text, so that no test waits for Tesseract.
class BlankRecognizer : public TextRecognizer {
  public:
    std::vector<std::string> recognizeText(const PageImage&, RecognitionLevel) override {
        return {};
    }
};

// The fake embedder, failing the chunks of the pages given.
class PageFailingEmbeddings : public test::FakeEmbeddings {
  public:
    PageFailingEmbeddings() : FakeEmbeddings(8) {}

    std::optional<std::vector<float>> encode(const std::string& sentence) override {
        for (int page : failingPages) {
            if (sentence.find("Page " + std::to_string(page) + " tells") != std::string::npos) {
                FakeEmbeddings::encode(sentence);
                return std::nullopt;
            }
        }
        return FakeEmbeddings::encode(sentence);
    }

    std::set<int> failingPages;
};

// A page's text: long enough for a text layer to count, naming its page.
std::string pageText(int page) {
    return "Page " + std::to_string(page) + " tells of harbour number " + std::to_string(page) +
           " and its lighthouse.";
}

class ChatIndexerTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    XattrFileTagStore fileTags;
    std::shared_ptr<PageFailingEmbeddings> local = std::make_shared<PageFailingEmbeddings>();
    std::shared_ptr<test::FakeEmbeddings> ada = std::make_shared<test::FakeEmbeddings>(8);
    std::shared_ptr<test::FakeEmbeddings> small = std::make_shared<test::FakeEmbeddings>(8);

    std::mutex updatesMutex;
    std::vector<IndexingUpdate> updates;

    void SetUp() override {
        preferences.setOpenAIKey("sk-test");
        preferences.setDataIngestionStrategy(DataIngestionStrategy::local);
    }

    test::FakeEmbedders embedders;

    ChatIndexerDependencies dependencies() {
        embedders.makeLocal = [this] { return local; };
        embedders.makeRemote =
            [this](EmbeddingModelType type) -> std::shared_ptr<EmbeddingsProtocol> {
            return type == EmbeddingModelType::openAI ? ada : small;
        };
        return {service.documentStore(), preferences, embedders, fileTags,
                [] { return std::make_unique<BlankRecognizer>(); }};
    }

    std::unique_ptr<ChatIndexer> indexer(const Conversation& chat) {
        return std::make_unique<ChatIndexer>(chat, dependencies(), [this](const IndexingUpdate& u) {
            std::lock_guard lock(updatesMutex);
            updates.push_back(u);
        });
    }

    std::string pdf(const std::string& name, int pages) {
        std::vector<std::string> texts;
        for (int page = 1; page <= pages; ++page) texts.push_back(pageText(page));
        test::writeFile(dir / name, test::makePdf(texts));
        return fileUrlFromPath(dir / name);
    }

    Conversation chat(const std::vector<std::string>& urls) {
        return service.createConversation(urls);
    }

    // Loads the chat's index and waits for the chain.
    std::unique_ptr<ChatIndexer> loaded(const Conversation& conversation) {
        auto made = indexer(conversation);
        EXPECT_TRUE(made->loadIndex());
        made->wait();
        return made;
    }

    std::vector<LoadingState> loadingStates() {
        std::lock_guard lock(updatesMutex);
        std::vector<LoadingState> states;
        for (const auto& u : updates) {
            if (states.empty() || states.back() != u.loadingState) states.push_back(u.loadingState);
        }
        return states;
    }

    std::string localModelName() { return std::string(rawValue(embedders.localType())); }
};

TEST_F(ChatIndexerTest, IndexingStoresOneRowPerChunkWithItsPageAndModel) {
    const auto conversation = chat({pdf("a.pdf", 3)});
    auto indexer = loaded(conversation);

    const auto state = indexer->state();
    EXPECT_EQ(state.loadingState, LoadingState::loaded);
    EXPECT_EQ(state.indexingProgress, 99);
    EXPECT_EQ(state.totalPageNumber, 3);
    EXPECT_FALSE(state.isScannedDocument);
    ASSERT_EQ(state.documents.size(), 1u);
    EXPECT_EQ(state.documents[0].indexingState, IndexingState::indexed);
    EXPECT_EQ(loadingStates(), (std::vector{LoadingState::indexing, LoadingState::loaded}));
    for (const auto& u : updates) EXPECT_LT(u.indexingProgress, 100);

    const auto rows = service.documentStore().indexItems(conversation.bookmarkId);
    ASSERT_EQ(rows.size(), 3u);
    std::set<std::string> pages;
    for (const auto& row : rows) {
        pages.insert(row.metadata.at("page"));
        EXPECT_EQ(row.metadata.at("bookmarkId"), std::to_string(conversation.bookmarkId));
        EXPECT_EQ(row.embeddingModel, localModelName());
        EXPECT_EQ(row.embedding.size(), 8u);
    }
    EXPECT_EQ(pages, (std::set<std::string>{"Optional(1)", "Optional(2)", "Optional(3)"}));
    EXPECT_EQ(service.documentStore().bookmark(conversation.bookmarkId)->indexingStatus, "indexed");
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), 3u);
    EXPECT_EQ(indexer->firstPageContentMap().at(conversation.bookmarkId), pageText(1));
}

TEST_F(ChatIndexerTest, ReopeningReadsTheRowsBackWithoutEmbedding) {
    const auto conversation = chat({pdf("a.pdf", 4)});
    const auto stored = [&] {
        auto first = loaded(conversation);
        return first->indexes().local->indexItems();
    }();
    updates.clear();
    local = std::make_shared<PageFailingEmbeddings>();

    auto reopened = loaded(conversation);
    EXPECT_EQ(loadingStates(), (std::vector{LoadingState::loading, LoadingState::loaded}));
    EXPECT_EQ(local->calls(), 1);  // the index's test sentence only
    auto items = reopened->indexes().local->indexItems();
    EXPECT_EQ(items.size(), stored.size());
    for (const auto& item : stored) {
        EXPECT_EQ(reopened->indexes().local->getItem(item.id), item);
    }

    // The view goes away and comes back: the indexes are dropped and read again.
    reopened->unloadIndex();
    EXPECT_EQ(reopened->state().loadingState, LoadingState::none);
    EXPECT_FALSE(reopened->indexes().local);
    ASSERT_TRUE(reopened->loadIndex());
    reopened->wait();
    EXPECT_EQ(reopened->indexes().local->indexItems().size(), stored.size());
    EXPECT_EQ(local->calls(), 2);
}

TEST_F(ChatIndexerTest, NothingStartsWithoutAKeyOrACustomModel) {
    preferences.setOpenAIKey("");
    const auto conversation = chat({pdf("a.pdf", 1)});
    auto indexer = this->indexer(conversation);
    EXPECT_FALSE(indexer->loadIndex());
    EXPECT_EQ(indexer->state().loadingState, LoadingState::none);

    indexer->setCustomModelId(7);
    EXPECT_TRUE(indexer->loadIndex());
    EXPECT_FALSE(indexer->loadIndex());  // a second load while one runs or after it
    indexer->wait();
    EXPECT_EQ(indexer->state().loadingState, LoadingState::loaded);
    EXPECT_FALSE(indexer->indexes().openai);
    EXPECT_FALSE(indexer->indexes().openaiNew);
}

TEST_F(ChatIndexerTest, TheStrategyAndThePageCountChooseTheModel) {
    struct Case {
        DataIngestionStrategy strategy;
        int pages;
        int threshold;
        bool customModel;
        bool remote;
    };
    const Case cases[] = {
        {DataIngestionStrategy::smart, 3, 3, false, true},
        {DataIngestionStrategy::smart, 4, 3, false, false},
        {DataIngestionStrategy::openai, 9, 3, false, true},
        {DataIngestionStrategy::local, 1, 3, false, false},
        {DataIngestionStrategy::openai, 1, 3, true, false},
    };
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(n);
        preferences.setDataIngestionStrategy(c.strategy);
        preferences.setPageCountThreshold(c.threshold);
        auto conversation = chat({pdf("doc" + std::to_string(n++) + ".pdf", c.pages)});
        conversation.customModelId = c.customModel ? 3 : 0;
        auto indexer = loaded(conversation);
        const auto rows = service.documentStore().indexItems(conversation.bookmarkId);
        ASSERT_EQ(rows.size(), size_t(c.pages));
        EXPECT_EQ(rows[0].embeddingModel, c.remote ? "text-embedding-3-small" : localModelName());
        const auto indexes = indexer->indexes();
        EXPECT_EQ(indexes.local->indexItems().size(), c.remote ? 0u : size_t(c.pages));
        EXPECT_EQ(bool(indexes.openaiNew), !c.customModel);
        if (indexes.openaiNew) {
            EXPECT_EQ(indexes.openaiNew->indexItems().size(), c.remote ? size_t(c.pages) : 0u);
        }
    }
}

TEST_F(ChatIndexerTest, StoredRowsGoToTheIndexOfTheirModel) {
    const auto conversation = chat({pdf("a.pdf", 1)});
    const IndexItem item{"x", "some text", std::vector<float>(8, 0.5f), {{"page", "Optional(1)"}}};
    const struct {
        std::string model;
        bool key;
        int where;  // 0 local, 1 ada, 2 small
    } cases[] = {{"text-embedding-ada-002", true, 1},
                 {"text-embedding-3-small", true, 2},
                 {"text-embedding-3-small", false, 0},
                 {"distilbert", true, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        service.documentStore().replaceIndexItems(conversation.bookmarkId, {item}, c.model);
        preferences.setOpenAIKey(c.key ? "sk-test" : "");
        auto chatWithModel = conversation;
        chatWithModel.customModelId = c.key ? 0 : 1;
        auto indexer = loaded(chatWithModel);
        const auto indexes = indexer->indexes();
        const std::shared_ptr<SimilarityIndex> all[] = {indexes.local, indexes.openai,
                                                        indexes.openaiNew};
        for (int i = 0; i < 3; ++i) {
            if (!all[i]) continue;
            EXPECT_EQ(all[i]->indexItems().size(), i == c.where ? 1u : 0u) << i;
        }
    }
}

TEST_F(ChatIndexerTest, ADocumentLeftIndexingByACrashIsProcessedAnewWithoutDuplicates) {
    const auto conversation = chat({pdf("a.pdf", 2)});
    // What a crash between the insert and the last status write leaves.
    service.documentStore().replaceIndexItems(
        conversation.bookmarkId, {IndexItem{"old", pageText(1), std::vector<float>(8, 1), {}}},
        localModelName());
    service.documentStore().setIndexingStatus(conversation.bookmarkId, "indexing");

    auto indexer = loaded(conversation);
    const auto rows = service.documentStore().indexItems(conversation.bookmarkId);
    EXPECT_EQ(rows.size(), 2u);
    for (const auto& row : rows) EXPECT_NE(row.id, "old");
    EXPECT_EQ(service.documentStore().bookmark(conversation.bookmarkId)->indexingStatus, "indexed");
}

TEST_F(ChatIndexerTest, AFailedDocumentShowsWhyWhileTheOthersAnswerAndCanBeReprocessed) {
    const auto first = pdf("first.pdf", 2);
    const auto second = pdf("second.pdf", 8);
    const auto conversation = chat({first, second});
    preferences.setIndexingParallelTask(1);
    // first.pdf: one failure, which is only logged; second.pdf: seven, in its one batch.
    local->failingPages = {1, 3, 4, 5, 6, 7, 8};
    auto indexer = loaded(conversation);
    auto state = indexer->state();
    EXPECT_EQ(state.loadingState, LoadingState::loaded);
    EXPECT_EQ(state.documents[0].indexingState, IndexingState::indexed);
    EXPECT_EQ(state.documents[1].indexingState, IndexingState::failed);
    EXPECT_NE(state.documents[1].errorMessage.find("could not be turned into vectors"),
              std::string::npos);
    const int64_t firstId = conversation.bookmarkId;
    const int64_t secondId = conversation.extraBookmarkIds.at(0);
    EXPECT_EQ(service.documentStore().indexItems(firstId).size(), 1u);
    EXPECT_TRUE(service.documentStore().indexItems(secondId).empty());
    EXPECT_EQ(service.documentStore().bookmark(secondId)->indexingStatus, "none");
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), 1u) << "nothing of the failed one";

    local->failingPages.clear();
    indexer->rebuildIndex(secondId, false);
    indexer->wait();
    state = indexer->state();
    EXPECT_EQ(state.documents[1].indexingState, IndexingState::indexed);
    EXPECT_TRUE(state.documents[1].errorMessage.empty());
    EXPECT_EQ(service.documentStore().indexItems(firstId).size(), 1u);
    EXPECT_EQ(service.documentStore().indexItems(secondId).size(), 8u);
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), 9u);
}

TEST_F(ChatIndexerTest, FiveFailedChunksInABatchAreDroppedAndSixFailTheDocument) {
    preferences.setIndexingParallelTask(2);  // 12 chunks: two batches of 6
    for (int failures : {5, 6}) {
        SCOPED_TRACE(failures);
        local = std::make_shared<PageFailingEmbeddings>();
        for (int page = 1; page <= failures; ++page) local->failingPages.insert(page);
        const auto conversation = chat({pdf("f" + std::to_string(failures) + ".pdf", 12)});
        auto indexer = loaded(conversation);
        const auto state = indexer->state();
        if (failures == 5) {
            EXPECT_EQ(state.loadingState, LoadingState::loaded);
            EXPECT_EQ(service.documentStore().indexItems(conversation.bookmarkId).size(), 7u);
            EXPECT_EQ(service.documentStore().bookmark(conversation.bookmarkId)->indexingStatus,
                      "indexed");
        } else {
            EXPECT_EQ(state.loadingState, LoadingState::failed);
            EXPECT_TRUE(service.documentStore().indexItems(conversation.bookmarkId).empty());
        }
    }
}

TEST_F(ChatIndexerTest, ADocumentThatCannotBeReadFailsWithItsCauseAndTheOthersGoOn) {
    const auto gone = pdf("gone.pdf", 1);
    const auto damaged = pdf("damaged.pdf", 1);
    // A file cut short before its cross-reference table: its pages are still read.
    const std::string whole = test::makePdf({pageText(1), pageText(2), pageText(3)});
    test::writeFile(dir / "tail.pdf", whole.substr(0, whole.rfind("xref")));
    const auto conversation =
        chat({pdf("good.pdf", 1), gone, damaged, fileUrlFromPath(dir / "tail.pdf")});
    // What can happen between intake and indexing: a file deleted, one
    // overwritten by something that is no PDF, one without any text.
    std::filesystem::remove(*pathFromFileUrl(gone));
    test::writeFile(*pathFromFileUrl(damaged), "not a pdf at all");
    test::writeFile(dir / "blank.pdf", test::makePdfWithPages({test::TestPage{}}));
    auto blankChat = chat({fileUrlFromPath(dir / "blank.pdf")});

    auto indexer = loaded(conversation);
    auto state = indexer->state();
    EXPECT_EQ(state.loadingState, LoadingState::loaded);
    EXPECT_EQ(state.documents[0].indexingState, IndexingState::indexed);
    EXPECT_EQ(state.documents[0].warning, "");
    // The cut file is indexed and says that part of it may be missing.
    EXPECT_EQ(state.documents[3].indexingState, IndexingState::indexed);
    EXPECT_EQ(state.documents[3].warning,
              "“tail.pdf” is damaged or cut short: some of its pages or text may be missing.");
    const struct {
        size_t document;
        const char* words;
    } failures[] = {{1, "“gone.pdf” cannot be found"}, {2, "“damaged.pdf” is not a PDF"}};
    for (const auto& failure : failures) {
        const auto& document = state.documents[failure.document];
        EXPECT_EQ(document.indexingState, IndexingState::failed);
        EXPECT_NE(document.errorMessage.find(failure.words), std::string::npos)
            << document.errorMessage;
    }

    // Removing a failed document always works.
    indexer->removeFromChat(conversation.extraBookmarkIds[0]);
    EXPECT_EQ(indexer->state().documents.size(), 3u);

    // A chat whose only document gives no text fails with that reason.
    auto blank = loaded(blankChat);
    EXPECT_EQ(blank->state().loadingState, LoadingState::failed);
    EXPECT_NE(blank->state().loadingFailReason.find("“blank.pdf” has no text"), std::string::npos)
        << blank->state().loadingFailReason;
}

TEST_F(ChatIndexerTest, TwoIndexersOfOneDocumentAtOnceStoreItsRowsOnce) {
    const auto url = pdf("shared.pdf", 6);
    const auto first = chat({url});
    const auto second = chat({url});
    ASSERT_EQ(first.bookmarkId, second.bookmarkId);
    auto one = indexer(first);
    auto other = indexer(second);
    ASSERT_TRUE(one->loadIndex());
    ASSERT_TRUE(other->loadIndex());
    one->wait();
    other->wait();
    EXPECT_EQ(service.documentStore().indexItems(first.bookmarkId).size(), 6u);
    for (auto* made : {one.get(), other.get()}) {
        EXPECT_EQ(made->state().loadingState, LoadingState::loaded);
        EXPECT_EQ(made->state().documents[0].indexingState, IndexingState::indexed);
        EXPECT_EQ(made->indexes().local->indexItems().size(), 6u);
    }
}

TEST_F(ChatIndexerTest, UnloadStopsTheChildrenAtTheirNextChunk) {
    preferences.setIndexingParallelTask(2);
    std::atomic<int> started = 0;
    local->onEncode = [&](const std::string& text) {
        if (text == "Test sentence") return;
        ++started;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    };
    const auto conversation = chat({pdf("long.pdf", 40)});
    auto indexer = this->indexer(conversation);
    ASSERT_TRUE(indexer->loadIndex());
    while (started == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    indexer->unloadIndex();
    indexer->wait();
    EXPECT_LE(started, 4);  // each child finishes the chunk it had begun
    EXPECT_FALSE(indexer->indexes().local);
    EXPECT_TRUE(service.documentStore().indexItems(conversation.bookmarkId).empty());
    EXPECT_NE(service.documentStore().bookmark(conversation.bookmarkId)->indexingStatus, "indexed");
}

TEST_F(ChatIndexerTest, RebuildReplacesTheRowsOfOneDocument) {
    const auto conversation = chat({pdf("a.pdf", 3)});
    auto indexer = loaded(conversation);
    const auto before = service.documentStore().indexItems(conversation.bookmarkId);
    updates.clear();

    indexer->rebuildIndex(conversation.bookmarkId, false);
    indexer->wait();
    const auto after = service.documentStore().indexItems(conversation.bookmarkId);
    ASSERT_EQ(after.size(), before.size());
    for (const auto& row : before) EXPECT_FALSE(indexer->indexes().local->getItem(row.id));
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), after.size());
    EXPECT_EQ(loadingStates(), (std::vector{LoadingState::indexingExtra, LoadingState::loaded}));
    EXPECT_EQ(indexer->state().indexingProgress, 99);
    EXPECT_EQ(indexer->state().documents[0].indexingState, IndexingState::indexed);

    indexer->rebuildIndex(9999, false);  // not in the chat: nothing happens
    indexer->wait();
    EXPECT_EQ(service.documentStore().indexItems(conversation.bookmarkId).size(), after.size());

    // A file moved away: the reprocess fails with the cause, and the old rows
    // still answer, in the table and in the index.
    std::filesystem::remove(dir / "a.pdf");
    indexer->rebuildIndex(conversation.bookmarkId, false);
    indexer->wait();
    const auto document = indexer->state().documents[0];
    EXPECT_EQ(document.indexingState, IndexingState::failed);
    EXPECT_NE(document.errorMessage.find("cannot be found"), std::string::npos);
    const auto kept = service.documentStore().indexItems(conversation.bookmarkId);
    ASSERT_EQ(kept.size(), after.size());
    EXPECT_EQ(kept[0].id, after[0].id);
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), after.size());
    EXPECT_EQ(indexer->state().loadingState, LoadingState::loaded);
}

TEST_F(ChatIndexerTest, AddedDocumentsAreIndexedAndRemovedOnesLeaveTheirRows) {
    const auto conversation = chat({pdf("a.pdf", 1)});
    auto indexer = loaded(conversation);
    const auto added = pdf("b.pdf", 2);
    indexer->addDocuments({added, added, pdf("a.pdf", 1)});  // a.pdf is in the chat already
    indexer->wait();

    auto state = indexer->state();
    ASSERT_EQ(state.documents.size(), 2u);
    ASSERT_EQ(state.extraBookmarkIds.size(), 1u);
    const int64_t addedId = state.extraBookmarkIds[0];
    EXPECT_EQ(state.documents[1].indexingState, IndexingState::indexed);
    EXPECT_EQ(state.loadingState, LoadingState::loaded);
    EXPECT_EQ(service.getConversation(conversation.id)->extraBookmarkIds,
              std::vector<int64_t>{addedId});
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), 3u);

    indexer->removeFromChat(addedId);
    state = indexer->state();
    EXPECT_EQ(state.documents.size(), 1u);
    EXPECT_TRUE(state.extraBookmarkIds.empty());
    EXPECT_TRUE(service.getConversation(conversation.id)->extraBookmarkIds.empty());
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), 1u);
    EXPECT_EQ(service.documentStore().indexItems(addedId).size(), 2u);
}

TEST_F(ChatIndexerTest, IndexedFilesGetTheDefaultTagOnce) {
    const auto first = pdf("a.pdf", 1);
    const auto second = pdf("b.pdf", 1);
    const auto conversation = chat({first, second});
    fileTags.setTags(*pathFromFileUrl(first), {"Red"});
    fileTags.setTags(*pathFromFileUrl(second), {"Blue", "Green"});
    preferences.setAutoTagIndexedFiles(true);
    preferences.setDefaultFinderTag("Blue");

    auto indexer = loaded(conversation);
    EXPECT_EQ(fileTags.tags(*pathFromFileUrl(first)), (std::vector<std::string>{"Red", "Blue"}));
    EXPECT_EQ(fileTags.tags(*pathFromFileUrl(second)), (std::vector<std::string>{"Blue", "Green"}));
    char raw[64] = {};
    ASSERT_GT(::getxattr(pathFromFileUrl(first)->c_str(), "user.xdg.tags", raw, sizeof raw), 0);
    EXPECT_STREQ(raw, "Red,Blue");
}

TEST_F(ChatIndexerTest, AFileSystemWithoutTagsLeavesThatFileUntaggedWithALogLine) {
    // ramfs keeps no extended attributes at all; mounting one needs root, and
    // without it there is no file system here that refuses them (tmpfs and
    // ext4 both keep user attributes on this kernel).
    if (::geteuid() != 0) GTEST_SKIP() << "mounting a ramfs needs root";
    const std::filesystem::path mountPoint = dir / "ramfs";
    std::filesystem::create_directories(mountPoint);
    if (::mount("ramfs", mountPoint.c_str(), "ramfs", 0, nullptr) != 0)
        GTEST_SKIP() << "cannot mount a ramfs here: " << std::strerror(errno);
    struct Unmount {
        std::string path;
        ~Unmount() { ::umount2(path.c_str(), MNT_DETACH); }
    } unmount{mountPoint};
    const auto untaggable = pdf("ramfs/c.pdf", 1);
    const auto taggable = pdf("d.pdf", 1);
    std::vector<std::string> lines;
    std::mutex linesMutex;
    setLogSink([&](std::string_view line) {
        std::lock_guard lock(linesMutex);
        lines.emplace_back(line);
    });
    preferences.setAutoTagIndexedFiles(true);
    preferences.setDefaultFinderTag("Purple");

    auto indexer = loaded(chat({untaggable, taggable}));
    setLogSink({});
    // Both are indexed; only the file that can keep a tag has one.
    for (const auto& document : indexer->state().documents)
        EXPECT_EQ(document.indexingState, IndexingState::indexed) << document.fileUrl;
    char raw[64] = {};
    EXPECT_LT(::getxattr(pathFromFileUrl(untaggable)->c_str(), "user.xdg.tags", raw, sizeof raw),
              0);
    EXPECT_EQ(errno, ENOTSUP);
    EXPECT_EQ(fileTags.tags(*pathFromFileUrl(taggable)), std::vector<std::string>{"Purple"});
    const std::string expected = "Not tagged: The tags of the file “" +
                                 *pathFromFileUrl(untaggable) +
                                 "” couldn’t be read: Operation not supported";
    EXPECT_NE(std::find(lines.begin(), lines.end(), expected), lines.end());
}

TEST(ChunkEmbeddingTest, BatchSizesAndStoredPages) {
    const struct {
        size_t chunks;
        int tasks;
        size_t batch;
    } batches[] = {{12, 5, 3}, {3, 5, 1}, {0, 5, 1}, {10, 1, 10}, {10, 0, 10}, {11, 10, 2}};
    for (const auto& c : batches) {
        EXPECT_EQ(chunkBatchSize(c.chunks, c.tasks), c.batch) << c.chunks << "/" << c.tasks;
    }
    EXPECT_EQ(storedPageValue({{"page", "12"}}), "Optional(12)");
    EXPECT_EQ(storedPageValue({{"page", "nil"}}), "nil");
    EXPECT_EQ(storedPageValue({}), "");
}

}  // namespace
}  // namespace folvane
