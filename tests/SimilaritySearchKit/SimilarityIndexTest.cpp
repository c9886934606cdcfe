#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>
#include <thread>

#include "SimilaritySearchKit/DotProduct.h"
#include "SimilaritySearchKit/EuclideanDistance.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "fakes/FakeEmbeddings.h"
#include "support/LogCapture.h"

namespace folvane {
namespace {

using test::FakeEmbeddings;
using test::LogCapture;
using Vector = std::vector<float>;

template <typename Record>
std::vector<std::string> ids(const std::vector<Record>& records) {
    std::vector<std::string> out;
    for (const auto& record : records) out.push_back(record.id);
    return out;
}

// An index over a two-dimensional fake whose texts "a" to "d" lie at known
// angles from the query "q" = (1, 0): a is nearest, d farthest.
struct SmallIndex {
    std::shared_ptr<FakeEmbeddings> model = std::make_shared<FakeEmbeddings>(2);
    std::unique_ptr<SimilarityIndex> index;

    SmallIndex() {
        model->set("q", {1, 0});
        model->set("a", {1, 0.1f});
        model->set("b", {1, 1});
        model->set("c", {0, 1});
        model->set("d", {-1, 0});
        index = std::make_unique<SimilarityIndex>("small", model);
        for (const char* text : {"c", "a", "d", "b"}) {
            index->addItem(std::string("id-") + text, text, {{"page", text}});
        }
    }
};

TEST(SimilarityIndexConstruction, LearnsTheDimensionFromOneTestEncoding) {
    auto model = std::make_shared<FakeEmbeddings>(7);
    const SimilarityIndex index(model);
    EXPECT_EQ(index.dimension(), 7);
    EXPECT_EQ(model->calls(), 1);

    LogCapture log;
    model->fail("Test sentence");
    EXPECT_EQ(SimilarityIndex("x", model).dimension(), 0);
    EXPECT_TRUE(log.contains("Failed to generate a test input vector."));
}

TEST(SimilarityIndexEmbedding, UsesAGivenVectorOnlyOfTheRightLengthAndDegradesToZeros) {
    struct Case {
        const char* name;
        std::optional<Vector> given;
        bool failEncoding;
        Vector expected;
        int encodings;
    };
    const Case cases[] = {
        {"right length as given", Vector{9, 8, 7}, false, {9, 8, 7}, 0},
        {"wrong length encodes the text instead", Vector{9, 8}, false, {1, 2, 3}, 1},
        {"none encodes", std::nullopt, false, {1, 2, 3}, 1},
        {"failed encoding gives zeros", std::nullopt, true, {0, 0, 0}, 1},
    };
    for (const auto& c : cases) {
        LogCapture log;
        auto model = std::make_shared<FakeEmbeddings>(3);
        model->set("text", {1, 2, 3});
        const SimilarityIndex index("x", model);
        if (c.failEncoding) model->fail("text");
        const int before = model->calls();
        EXPECT_EQ(index.getEmbedding("text", c.given), c.expected) << c.name;
        EXPECT_EQ(model->calls() - before, c.encodings) << c.name;
        EXPECT_EQ(log.contains("Failed to encode text. text"), c.failEncoding) << c.name;
    }
}

TEST(SimilarityIndexItems, DuplicateIdsAreAllRemovedButOnlyTheFirstIsReadOrUpdated) {
    LogCapture log;
    auto model = std::make_shared<FakeEmbeddings>(2);
    SimilarityIndex index("x", model);
    index.addItem("dup", "first", {}, Vector{1, 1});
    index.addItem("other", "middle", {}, Vector{2, 2});
    index.addItem("dup", "second", {}, Vector{3, 3});

    EXPECT_EQ(index.getItem("dup")->text, "first");
    EXPECT_FALSE(index.getItem("missing"));

    index.updateItem("dup", std::string("changed"), Vector{9, 9, 9}, std::nullopt);
    EXPECT_TRUE(log.contains("Dimension mismatch, expected 2, saw 3"));
    auto items = index.indexItems();
    EXPECT_EQ(items[0], (IndexItem{"dup", "changed", {9, 9, 9}, {}}));
    EXPECT_EQ(items[2], (IndexItem{"dup", "second", {3, 3}, {}}));

    index.updateItem("missing", std::string("nothing"));
    index.updateItem("other", std::nullopt, std::nullopt, SimilarityIndex::Metadata{{"k", "v"}});
    EXPECT_EQ(index.getItem("other"), (IndexItem{"other", "middle", {2, 2}, {{"k", "v"}}}));
    EXPECT_EQ(index.indexItems().size(), 3u);

    EXPECT_EQ(index.sample(2).size(), 2u);
    index.addItem("é", "naïve", {{"pagé", "1"}}, Vector{1, 2});
    // UTF-8 bytes of ids, texts and metadata, four bytes a float:
    // dup 3+7+12, other 5+6+8+1+1, dup 3+6+8, é 2+6+8+5+1.
    EXPECT_EQ(index.estimatedSizeInBytes(), 22 + 21 + 17 + 22);

    index.removeItem("dup");
    EXPECT_EQ(ids(index.indexItems()), (std::vector<std::string>{"other", "é"}));
    index.removeAll();
    EXPECT_TRUE(index.indexItems().empty());
}

TEST(SimilarityIndexItems, AddItemsFromArraysRejectsUnequalArraysAndLogsAShortEmbeddingsArray) {
    SimilarityIndex index("x", std::make_shared<FakeEmbeddings>(2));
    try {
        index.addItems({"1", "2"}, {"a"}, {{}, {}});
        FAIL() << "expected an exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "Input arrays must have the same length.");
    }
    EXPECT_THROW(index.addItems({"1"}, {"a"}, {}), std::invalid_argument);
    EXPECT_TRUE(index.indexItems().empty());

    LogCapture log;
    const std::vector<std::optional<Vector>> embeddings{Vector{7, 7}};
    std::mutex mutex;
    std::vector<std::string> progress;
    index.addItems({"1", "2", "3"}, {"a", "b", "c"}, {{}, {}, {}}, embeddings,
                   [&](const std::string& id) {
                       std::scoped_lock lock(mutex);
                       progress.push_back(id);
                   });
    EXPECT_TRUE(
        log.contains("Embeddings array length must be the same as ids array length. 1 vs 3"));
    std::sort(progress.begin(), progress.end());
    EXPECT_EQ(progress, (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_EQ(index.getItem("1")->embedding, (Vector{7, 7}));
    EXPECT_EQ(index.getItem("3")->text, "c");
}

TEST(SimilarityIndexItems, AddItemsFromArraysListsItemsInTheOrderTheirEncodingsFinished) {
    auto model = std::make_shared<FakeEmbeddings>(2);
    SimilarityIndex index("x", model);
    std::mutex mutex;
    std::condition_variable changed;
    bool secondAdded = false;
    model->onEncode = [&](const std::string& text) {
        if (text != "slow") return;
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return secondAdded; });
    };
    index.addItems({"1", "2"}, {"slow", "fast"}, {{}, {}}, std::nullopt,
                   [&](const std::string& id) {
                       if (id != "2") return;
                       std::scoped_lock lock(mutex);
                       secondAdded = true;
                       changed.notify_all();
                   });
    EXPECT_EQ(ids(index.indexItems()), (std::vector<std::string>{"2", "1"}));
}

TEST(SimilarityIndexItems, AddItemsFromItemsReencodesOnlyWrongLengthsThenCompletesOnce) {
    auto model = std::make_shared<FakeEmbeddings>(2);
    model->set("redo", {5, 5});
    SimilarityIndex index("x", model);
    int completions = 0;
    std::size_t seenAtCompletion = 0;
    index.addItems({IndexItem{"1", "keep", {1, 2}, {}}, IndexItem{"2", "redo", {1, 2, 3}, {}},
                    IndexItem{"3", "redo", {}, {}}},
                   [&] {
                       ++completions;
                       seenAtCompletion = index.indexItems().size();
                   });
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(seenAtCompletion, 3u);
    const auto items = index.indexItems();
    EXPECT_EQ(items[0].embedding, (Vector{1, 2}));
    EXPECT_EQ(items[1].embedding, (Vector{5, 5}));
    EXPECT_EQ(items[2].embedding, (Vector{5, 5}));
}

TEST(SimilarityIndexSearch, RanksByTheIndexMetricWithFiveResultsByDefault) {
    SmallIndex small;
    const auto results = small.index->search("q");
    EXPECT_EQ(ids(results), (std::vector<std::string>{"id-a", "id-b", "id-c", "id-d"}));
    EXPECT_EQ(results[0].text, "a");
    EXPECT_EQ(results[0].metadata, (SimilarityIndex::Metadata{{"page", "a"}}));
    EXPECT_NEAR(results[0].score, 1 / std::sqrt(1.01f), 1e-6);
    EXPECT_NEAR(results[3].score, -1, 1e-6);
    EXPECT_EQ(ids(small.index->search("q", 2)), (std::vector<std::string>{"id-a", "id-b"}));
}

TEST(SimilarityIndexSearch, EmptyIndexesCountsOfZeroOrLessAndFailedQueriesGiveNothing) {
    auto model = std::make_shared<FakeEmbeddings>(3);
    SimilarityIndex empty("x", model);
    for (const int top : {-1, 0, 1, 5, 100}) EXPECT_TRUE(empty.search("q", top).empty()) << top;

    SmallIndex small;
    for (const int top : {0, -4}) {
        const int before = small.model->calls();
        EXPECT_TRUE(small.index->search("q", top).empty());
        EXPECT_EQ(small.model->calls() - before, 1);
    }
    EXPECT_EQ(small.index->search("q", 50).size(), 4u);

    LogCapture log;
    small.model->fail("unknown");
    EXPECT_TRUE(small.index->search("unknown").empty());
    EXPECT_TRUE(log.contains("Failed to generate query embedding for 'unknown'."));
}

TEST(SimilarityIndexSearch, AnExplicitMetricStaysForLaterSearches) {
    SmallIndex small;
    small.model->set("far", {10, 0});
    // By cosine "a" is nearest to (10, 0); by dot product "a" and "b" tie at 10
    // and keep their list order.
    EXPECT_EQ(ids(small.index->search("far", 1)), (std::vector<std::string>{"id-a"}));
    const auto byDot = small.index->search("far", 4, std::make_shared<DotProduct>());
    EXPECT_EQ(ids(byDot), (std::vector<std::string>{"id-a", "id-b", "id-c", "id-d"}));
    EXPECT_FLOAT_EQ(byDot[0].score, 10);
    EXPECT_NE(dynamic_cast<const DotProduct*>(small.index->indexMetric().get()), nullptr);

    small.model->set("corner", {0, 2});
    small.index->search("corner", 1, std::make_shared<EuclideanDistance>());
    const auto later = small.index->search("corner");
    EXPECT_EQ(ids(later), (std::vector<std::string>{"id-c", "id-b", "id-a", "id-d"}));
    EXPECT_FLOAT_EQ(later[0].score, 1);
}

TEST(SimilarityIndexSearch, AHitOnADuplicateIdReadsTheFirstItemWithThatId) {
    auto model = std::make_shared<FakeEmbeddings>(2);
    model->set("q", {1, 0});
    SimilarityIndex index("x", model);
    index.addItem("same", "far", {{"n", "1"}}, Vector{-1, 0});
    index.addItem("same", "near", {{"n", "2"}}, Vector{1, 0});
    const auto results = index.search("q", 1);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0], (SearchResult{"same", 1, "far", {{"n", "1"}}}));
}

TEST(SimilarityIndexText, CombinesResultsAndWrapsThemInThePromptExactly) {
    SmallIndex small;
    const std::vector<SearchResult> results{
        {"1", 0.9f, "First text", {{"page", "3"}, {"bookmarkId", "7"}}},
        {"2", 0.5f, "Second", {}},
    };
    const std::string combined = "First text\nBOOKMARKID: 7\nPAGE: 3\n\nSecond\n";
    EXPECT_EQ(small.index->combinedResultsString(results), combined);
    EXPECT_EQ(small.index->combinedResultsString({}), "");
    EXPECT_EQ(small.index->exportLLMPrompt("Why?", results),
              "Given the following extracted parts of a long document and a question, create a "
              "final answer with references (\"SOURCES\").\nIf you don't know the answer, just "
              "say that you don't know. Don't try to make up an answer.\nALWAYS return a "
              "\"SOURCES\" part in your answer.\n\nQUESTION: Why?\n=========\n" +
                  combined + "\n=========\nFINAL ANSWER:");
}

TEST(SimilarityIndexConcurrency, ParallelAddsAndSearchesLoseNothing) {
    auto model = std::make_shared<FakeEmbeddings>(32);
    SimilarityIndex index("x", model);
    constexpr int writers = 4;
    constexpr int perWriter = 200;
    std::atomic<bool> done = false;
    std::jthread reader([&] {
        while (!done) {
            for (const auto& result : index.search("query", 3)) EXPECT_NE(result.id, "000000");
        }
    });
    {
        std::vector<std::jthread> threads;
        for (int w = 0; w < writers; ++w) {
            threads.emplace_back([&, w] {
                for (int i = 0; i < perWriter; ++i) {
                    const std::string id = std::to_string(w) + "-" + std::to_string(i);
                    index.addItem(id, "text " + id, {});
                }
            });
        }
    }
    done = true;
    reader.join();
    EXPECT_EQ(index.indexItems().size(), std::size_t(writers * perWriter));
    EXPECT_EQ(index.search("query", 1000).size(), std::size_t(writers * perWriter));
}

}  // namespace
}  // namespace folvane
