#include <gtest/gtest.h>

#include "conversation/ToolCallHandler.h"
#include "platform/FileUrl.h"
#include "providers/DecodingError.h"
#include "support/TempDir.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

class ToolCallHandlerTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    Conversation conversation;
    std::vector<Bookmark> bookmarks;

    void SetUp() override {
        conversation.id = 9;
        conversation.model = "gpt-4o";
        test::writeFile(dir / "paper.pdf",
                        test::makePdf({"First page text", "", "Third page about mining"}));
        Bookmark bookmark;
        bookmark.id = 12;
        bookmark.filePath = fileUrlFromPath(dir / "paper.pdf");
        bookmarks.push_back(bookmark);
        Bookmark gone;
        gone.id = 13;
        gone.filePath = fileUrlFromPath(dir / "gone.pdf");
        bookmarks.push_back(gone);
    }
};

TEST_F(ToolCallHandlerTest, ReadsAskedPagesAndSaysNoContentOtherwise) {
    ToolCallHandler handler(conversation, bookmarks);
    struct Case {
        std::string name;
        std::string arguments;
        std::string text;
        std::optional<int> referencedPage;
    };
    const std::vector<Case> cases = {
        {"get_page_content", R"({"documentId":"12","page":3})", "Third page about mining", 3},
        {"", R"({"documentId":"12","page":1})", "First page text", 1},  // no name: reads a page
        {"get_page_content", R"({"documentId":"12","page":2})", "No content found", 2},
        {"get_page_content", R"({"documentId":"12","page":0})", "No content found", std::nullopt},
        {"get_page_content", R"({"documentId":"12","page":4})", "No content found", std::nullopt},
        {"get_page_content", R"({"documentId":"99","page":1})", "No content found", std::nullopt},
        {"get_page_content", R"({"documentId":"13","page":1})", "No content found", std::nullopt},
        {"get_page_content", R"({"documentId":"x12","page":1})", "No content found", std::nullopt},
        {"get_search_result", R"({"keyword":"bitcoin"})", "", std::nullopt},
        {"unknown_function", "not even JSON", "", std::nullopt},
    };
    std::vector<int> expectedPages;
    for (const auto& c : cases) {
        const auto result = handler.call(c.name, c.arguments);
        const std::string name = c.name.empty() ? "get_page_content" : c.name;
        EXPECT_EQ(result.text.find(c.text), 0u) << c.arguments;
        ASSERT_EQ(result.messages.size(), 2u);
        const Message& call = result.messages[0];
        const Message& answer = result.messages[1];
        EXPECT_EQ(call.role, "assistant");
        EXPECT_EQ(call.content, "");
        EXPECT_EQ(call.functionName, name);
        EXPECT_EQ(call.functionArguments, c.arguments);
        EXPECT_FALSE(call.name);
        EXPECT_EQ(answer.role, "function");
        EXPECT_EQ(answer.name, name);
        EXPECT_EQ(answer.content, result.text);
        EXPECT_FALSE(answer.functionName);
        for (const auto& m : result.messages) {
            EXPECT_EQ(m.id, 0);
            EXPECT_EQ(m.conversationId, 9);
            EXPECT_EQ(m.model, "gpt-4o");
        }
        if (c.referencedPage) expectedPages.push_back(*c.referencedPage);
    }
    const auto references = handler.toolReferences();
    ASSERT_EQ(references.size(), expectedPages.size());
    for (size_t i = 0; i < references.size(); ++i) {
        EXPECT_EQ(references[i].page, expectedPages[i]);
        EXPECT_EQ(references[i].bookmarkId, 12);
        EXPECT_EQ(references[i].score, 1.0f);
        EXPECT_EQ(references[i].id.size(), 36u);
    }
    EXPECT_NE(references[0].id, references[1].id);
}

TEST_F(ToolCallHandlerTest, ArgumentsThatAreNotTheObjectFailTheCall) {
    ToolCallHandler handler(conversation, bookmarks);
    for (const std::string arguments :
         {"{", R"({"documentId":12,"page":1})", R"({"page":1})", R"({"documentId":"12"})", "[]"}) {
        EXPECT_THROW(handler.call("get_page_content", arguments), DecodingError) << arguments;
    }
    EXPECT_TRUE(handler.toolReferences().empty());
}

}  // namespace
}  // namespace folvane
