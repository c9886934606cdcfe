#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "SimilaritySearchKit/BertEncoder.h"
#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/EmbedderFactory.h"
#include "chat/AppChatService.h"
#include "documents/ChatIndexer.h"
#include "platform/FileUrl.h"
#include "platform/XattrFileTagStore.h"
#include "store/AppPreferences.h"
#include "support/SafetensorsWriter.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

// A chat indexed by the lexical model before the weights were downloaded, then
// embedded again with the tiny BERT encoder copied into the models folder, as
// the download puts it there: a real store, the program's embedder factory.
class LocalModelReembedTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    XattrFileTagStore fileTags;
    std::filesystem::path weights =
        std::filesystem::path(dir / "models") / DistilbertEmbeddings::weightsFileName;
    // The program's factory, over the tiny encoder (24 wide, where the file
    // loader wants the real model's 768) read from the models folder.
    EmbedderFactory embedders{preferences,
                              {dir / "models", test::resourceDir(), nullptr, [this](int) {
                                   return std::make_shared<DistilbertEmbeddings>(
                                       std::make_shared<const BertEncoder>(weights),
                                       std::make_shared<const BertTokenizer>(test::resourceDir()));
                               }}};

    void SetUp() override {
        preferences.setOpenAIKey("sk-test");
        preferences.setDataIngestionStrategy(DataIngestionStrategy::local);
        preferences.setAutoTagIndexedFiles(false);
    }

    std::string pdf(const std::string& name) {
        test::writeFile(dir / name, test::makePdf({"The tides rise twice a day.",
                                                   "Harbour fees are due each month."}));
        return fileUrlFromPath(dir / name);
    }

    std::unique_ptr<ChatIndexer> loaded(const Conversation& conversation) {
        auto indexer = std::make_unique<ChatIndexer>(
            conversation,
            ChatIndexerDependencies{service.documentStore(), preferences, embedders, fileTags, {}});
        EXPECT_TRUE(indexer->loadIndex());
        indexer->wait();
        return indexer;
    }

    void installModel() {
        std::filesystem::create_directories(dir / "models");
        std::filesystem::copy_file(test::tinyBertPath(), std::filesystem::path(dir / "models") /
                                                             DistilbertEmbeddings::weightsFileName);
    }

    std::set<std::string> storedModels(int64_t bookmarkId) {
        std::set<std::string> models;
        for (const auto& row : service.documentStore().indexItems(bookmarkId))
            models.insert(row.embeddingModel);
        return models;
    }
};

TEST_F(LocalModelReembedTest, ADownloadedModelReembedsOneDocumentAndTheIndexAnswersWithIt) {
    const auto conversation = service.createConversation({pdf("a.pdf"), pdf("b.pdf")});
    auto indexer = loaded(conversation);
    const int64_t first = conversation.bookmarkId;
    const int64_t second = conversation.extraBookmarkIds.at(0);
    ASSERT_EQ(storedModels(first), std::set<std::string>{"native"});
    EXPECT_FALSE(indexer->state().localModelInstalled);
    EXPECT_EQ(indexer->state().documents[0].embeddingModel, "native");

    // Without the weights the request does nothing.
    indexer->reembedWithLocalModel(first);
    indexer->wait();
    EXPECT_EQ(storedModels(first), std::set<std::string>{"native"});

    installModel();
    const size_t items = indexer->indexes().local->indexItems().size();
    indexer->reembedWithLocalModel(first);
    indexer->wait();
    const auto state = indexer->state();
    EXPECT_TRUE(state.localModelInstalled);
    EXPECT_EQ(state.loadingState, LoadingState::loaded);
    EXPECT_EQ(state.documents[0].indexingState, IndexingState::indexed);
    EXPECT_EQ(state.documents[0].embeddingModel, "distilbert");
    EXPECT_EQ(state.documents[1].embeddingModel, "native");
    EXPECT_EQ(storedModels(first), std::set<std::string>{"distilbert"});
    EXPECT_EQ(storedModels(second), std::set<std::string>{"native"});

    // The local index now encodes queries with the encoder, and holds the new
    // rows in place of the old ones beside the other document's.
    const auto local = indexer->indexes().local;
    EXPECT_EQ(local->indexItems().size(), items);
    for (const auto& row : service.documentStore().indexItems(first)) {
        const auto item = local->getItem(row.id);
        ASSERT_TRUE(item) << row.id;
        EXPECT_EQ(item->embedding.size(), 24u);
    }
    const auto results = local->search("harbour fees", 1);
    ASSERT_EQ(results.size(), 1u);

    // A reopened chat reads the document's rows and knows their model.
    indexer.reset();
    auto reopened = loaded(conversation);
    EXPECT_EQ(reopened->state().documents[0].embeddingModel, "distilbert");
    const auto rows = service.documentStore().indexItems(first);
    reopened->reembedWithLocalModel(first);  // already the local model's: nothing happens
    reopened->wait();
    EXPECT_EQ(service.documentStore().indexItems(first)[0].id, rows[0].id);
}

TEST_F(LocalModelReembedTest, AWeightsFileThatDoesNotLoadFailsTheDocumentAndKeepsItsRows) {
    const auto conversation = service.createConversation({pdf("a.pdf")});
    auto indexer = loaded(conversation);
    const auto before = service.documentStore().indexItems(conversation.bookmarkId);
    std::filesystem::create_directories(dir / "models");
    test::writeFile(std::filesystem::path(dir / "models") / DistilbertEmbeddings::weightsFileName,
                    "not a model");

    indexer->reembedWithLocalModel(conversation.bookmarkId);
    indexer->wait();
    const auto document = indexer->state().documents[0];
    EXPECT_EQ(document.indexingState, IndexingState::failed);
    EXPECT_NE(document.errorMessage.find("local model could not be loaded"), std::string::npos);
    EXPECT_EQ(document.embeddingModel, "native");
    const auto after = service.documentStore().indexItems(conversation.bookmarkId);
    ASSERT_EQ(after.size(), before.size());
    EXPECT_EQ(after[0].id, before[0].id);
    EXPECT_EQ(indexer->indexes().local->indexItems().size(), before.size());
}

}  // namespace
}  // namespace folvane
