#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "documents/ContextBuilder.h"
#include "documents/ContextError.h"
#include "fakes/FakeEmbeddings.h"
#include "providers/GPTEncoder.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using ::testing::Property;
using ::testing::Throws;
using ::testing::ThrowsMessage;

Bookmark bookmark(int64_t id, const std::string& filePath,
                  std::optional<std::string> tags = std::nullopt) {
    Bookmark b;
    b.id = id;
    b.filePath = filePath;
    b.tags = std::move(tags);
    return b;
}

SearchResult result(std::string id, float score, std::map<std::string, std::string> metadata,
                    std::string text = "chunk") {
    return SearchResult{std::move(id), score, std::move(text), std::move(metadata)};
}

class ContextBuilderTest : public ::testing::Test {
  protected:
    static const GPTEncoder& encoder() {
        static const GPTEncoder shared(test::resourceDir());
        return shared;
    }

    std::shared_ptr<test::FakeEmbeddings> localModel = std::make_shared<test::FakeEmbeddings>(3);
    std::shared_ptr<test::FakeEmbeddings> remoteModel = std::make_shared<test::FakeEmbeddings>(3);

    std::shared_ptr<SimilarityIndex> index(std::shared_ptr<test::FakeEmbeddings> model) {
        return std::make_shared<SimilarityIndex>("test", model,
                                                 std::make_shared<CosineSimilarity>());
    }
};

TEST_F(ContextBuilderTest, TheGptTemplateTestIsCaseSensitive) {
    const struct {
        std::string model;
        bool gpt;
    } cases[] = {{"gpt-4o", true}, {"openai/gpt-4", true},   {"GPT-4", false},
                 {"Gpt-4", false}, {"claude-3-opus", false}, {"", false},
                 {"my-gpt", true}, {"mistral-large", false}};
    for (const auto& c : cases) {
        EXPECT_EQ(ContextBuilder::instructionTemplate(c.model),
                  c.gpt ? ContextBuilder::gptTemplate : ContextBuilder::plainTemplate)
            << c.model;
    }
    EXPECT_NE(ContextBuilder::gptTemplate.find("\n.....REFS.....\n1,4\n"), std::string::npos);
    EXPECT_EQ(ContextBuilder::contentBlock("X"),
              "    =====\n    CONTENT OF THE DOCUMENTS:\n    =====\n    \n    X");
}

TEST_F(ContextBuilderTest, TheDocumentListCountsAllAndNumbersWithGaps) {
    const std::vector<Bookmark> bookmarks = {
        bookmark(4, "file:///home/u/Annual%20Report.pdf", "Blue,Work"),
        bookmark(5, "not a url"),
        bookmark(9, "file:///tmp/b.pdf"),
    };
    EXPECT_EQ(documentsMetadataText(bookmarks),
              "Number of documents: 3\n"
              "Document #1\n- Document ID: 4\n- File Name: Annual Report.pdf\n- File Type: PDF\n\n"
              "- File Tags: Blue,Work\n\n"
              "Document #3\n- Document ID: 9\n- File Name: b.pdf\n- File Type: PDF\n\n");
    EXPECT_EQ(documentsMetadataText({}), "Number of documents: 0\n");
}

TEST_F(ContextBuilderTest, PageValuesAndReferences) {
    const struct {
        std::string stored;
        std::optional<int> page;
    } pages[] = {{"Optional(12)", 12},         {"7", 7},
                 {"nil", std::nullopt},        {"", std::nullopt},
                 {"Optional()", std::nullopt}, {"(3)", 3},
                 {"x3", std::nullopt},         {"Optional(1b)", std::nullopt},
                 {"Optional(1a)", 1},          {"lpt12)", 12}};
    for (const auto& c : pages) EXPECT_EQ(pageNumber(c.stored), c.page) << c.stored;

    const auto withPage = [](std::string page, std::string id = "3") {
        return result("r", 0.25f, {{"page", std::move(page)}, {"bookmarkId", std::move(id)}});
    };
    EXPECT_EQ(makeReference(withPage("Optional(4)")), (Reference{"r", 3, 4, std::nullopt}));
    EXPECT_EQ(makeReference(withPage("Optional(4)"), true), (Reference{"r", 3, 4, 0.25f}));
    EXPECT_FALSE(makeReference(withPage("")));
    EXPECT_FALSE(makeReference(withPage("nil")));
    EXPECT_FALSE(makeReference(withPage("Optional(4)", "")));
    EXPECT_FALSE(makeReference(withPage("Optional(4)", "x")));
    EXPECT_FALSE(makeReference(result("r", 1, {})));
    EXPECT_FALSE(makeReference(result("r", 1, {{"page", "Optional(4)"}})));
}

TEST_F(ContextBuilderTest, AContextEntryFallsBackToPageOne) {
    EXPECT_EQ(ContextBuilder::contextEntry(
                  result("a", 1, {{"page", "Optional(2)"}, {"bookmarkId", "8"}}, "Hello")),
              "- Document ID: 8\n- Page: 2\n- Content: Hello");
    EXPECT_EQ(ContextBuilder::contextEntry(result("a", 1, {{"page", ""}}, "x")),
              "- Document ID: \n- Page: 1\n- Content: x");
    EXPECT_EQ(ContextBuilder::contextEntry(result("a", 1, {}, "x")),
              "- Document ID: \n- Page: 1\n- Content: x");
    EXPECT_EQ(
        ContextBuilder::contextText({result("a", 1, {}, "x"), result("b", 1, {}, "y")}),
        "- Document ID: \n- Page: 1\n- Content: x\n\n- Document ID: \n- Page: 1\n- Content: y");
}

TEST_F(ContextBuilderTest, MergingKeepsTheBestAndPutsLocalResultsFirstOnTies) {
    std::vector<std::vector<SearchResult>> lists(3);
    for (int i = 0; i < 5; ++i) {
        lists[0].push_back(result("local" + std::to_string(i), 0.5f - 0.1f * i, {}));
        lists[1].push_back(result("ada" + std::to_string(i), 0.05f, {}));
        lists[2].push_back(result("new" + std::to_string(i), 0.5f - 0.1f * i, {}));
    }
    const auto best = ContextBuilder::bestResults(lists, 5);
    std::vector<std::string> ids;
    for (const auto& r : best) ids.push_back(r.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"local0", "new0", "local1", "new1", "local2"}));
    EXPECT_EQ(ContextBuilder::bestResults(lists, 20).size(), 15u);
}

TEST_F(ContextBuilderTest, TheInstructionComesFromTheFilledIndexesOnly) {
    ChatIndexes indexes{index(localModel), index(remoteModel), index(remoteModel)};
    localModel->set("the question", {1, 0, 0});
    localModel->set("near", {1, 0.1f, 0});
    localModel->set("far", {0, 1, 0});
    indexes.local->addItem("1", "near", {{"bookmarkId", "4"}, {"page", "Optional(2)"}});
    indexes.local->addItem("2", "far", {{"bookmarkId", "4"}, {"page", "Optional(5)"}});
    const int remoteCalls = remoteModel->calls();

    const ContextBuilder builder(indexes, {bookmark(4, "file:///d/a.pdf")}, encoder(), 2048, {});
    const auto context = builder.generateSystemInstructionForQuery("the question", "gpt-4o", 5);
    EXPECT_EQ(remoteModel->calls(), remoteCalls);  // the empty remote indexes are not asked
    ASSERT_EQ(context.results.size(), 2u);
    EXPECT_EQ(context.results[0].id, "1");
    const std::string metadata =
        "Number of documents: 1\nDocument #1\n- Document ID: 4\n- File Name: a.pdf\n- File "
        "Type: PDF\n\n";
    std::string expected(ContextBuilder::gptTemplate);
    expected.replace(expected.find("{metadata}"), 10, metadata);
    EXPECT_EQ(context.instruction, expected);
    EXPECT_EQ(context.contentBlock,
              ContextBuilder::contentBlock("- Document ID: 4\n- Page: 2\n- Content: near\n\n- "
                                           "Document ID: 4\n- Page: 5\n- Content: far"));

    const auto plain = builder.generateSystemInstructionForQuery("the question", "llama3", 1);
    EXPECT_EQ(plain.results.size(), 1u);
    EXPECT_TRUE(plain.instruction.starts_with(
        "=====\nINSTRUCTION:\n=====\nYou have access to the content of the following document or "
        "documents."));
    std::string quoted(ContextBuilder::plainTemplate);
    quoted.replace(quoted.find("{metadata}"), 10, metadata);
    EXPECT_EQ(builder.quotedContentInstruction(), quoted);
}

TEST_F(ContextBuilderTest, FailuresAndRedactionOfTheInstruction) {
    const ContextBuilder withoutLocal({}, {}, encoder(), 2048, {});
    EXPECT_THAT(
        [&] { withoutLocal.generateSystemInstructionForQuery("q", "gpt-4o", 5); },
        Throws<ContextError>(Property(&ContextError::errorCase, ContextError::Case::noIndex)));

    ChatIndexes indexes{index(localModel), nullptr, nullptr};
    const ContextBuilder builder(indexes, {bookmark(1, "file:///d/mail%20me%40example.com.pdf")},
                                 encoder(), 2048, RedactionOptions{true, false, true, false});
    const auto context = builder.generateSystemInstructionForQuery("q", "gpt-4o", 5);
    EXPECT_TRUE(context.results.empty());
    EXPECT_EQ(context.instruction.find("example.com"), std::string::npos);
    EXPECT_NE(context.instruction.find("- File Name: mail [REDACTED]"), std::string::npos)
        << context.instruction;

    std::string longQuery;  // gpt-4 takes 8192 tokens; " word" is one
    for (int i = 0; i < 9000; ++i) longQuery += " word";
    EXPECT_THAT(
        [&] { builder.generateSystemInstructionForQuery(longQuery, "gpt-4", 5); },
        ThrowsMessage<ContextError>(
            "Your prompt is too long. Try switching to another model or edit your prompt."));
}

TEST_F(ContextBuilderTest, TheAnswerPicksTheResultsAboveTheThresholdOrTheBestOne) {
    auto model = std::make_shared<test::FakeEmbeddings>(2);
    model->set("answer", {1, 0});
    model->set("same", {1, 0});                // cosine 1
    model->set("close", {0.8f, 0.6f});         // 0.8
    model->set("half", {0.5f, 0.8660254f});    // 0.5
    model->set("apart", {0.1f, 0.99498744f});  // 0.1
    const auto with = [](std::string id, std::string text) {
        return result(std::move(id), 0, {{"bookmarkId", "1"}, {"page", "Optional(1)"}},
                      std::move(text));
    };
    auto kept = checkReferenceScore(model, "answer",
                                    {with("h", "half"), with("s", "same"), with("c", "close")});
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[0].id, "s");
    EXPECT_EQ(kept[1].id, "c");
    EXPECT_NEAR(kept[1].score, 0.8f, 1e-5);

    kept = checkReferenceScore(model, "answer", {with("a", "apart"), with("h", "half")});
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].id, "h");
    EXPECT_EQ(makeReference(kept[0], true)->score, kept[0].score);

    EXPECT_TRUE(checkReferenceScore(model, "answer", {}).empty());
}

}  // namespace
}  // namespace folvane
