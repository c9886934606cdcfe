#include <gtest/gtest.h>

#include "conversation/ChatDetailState.h"
#include "conversation/ChatLabel.h"

namespace folvane {
namespace {

TEST(ChatLabelTest, TheRowDetailCountsDocumentsFromTwoAndNamesTheModel) {
    struct Case {
        const char* what;
        std::vector<int64_t> extraBookmarks;
        std::optional<int> messageCount;
        std::string model;
        std::optional<std::string> customName;
        std::string expected;
    };
    const std::vector<Case> cases{
        {"one document, no count yet",
         {},
         std::nullopt,
         "gpt-4",
         std::nullopt,
         "0 messages · GPT-4"},
        {"two documents", {7}, 3, "gpt-4", std::nullopt, "2 documents · 3 messages · GPT-4"},
        {"three documents",
         {7, 8},
         12,
         "gpt-3.5-turbo-16k",
         std::nullopt,
         "3 documents · 12 messages · GPT-3.5 16K"},
        {"a model in no table shows its id",
         {},
         1,
         "my-model",
         std::nullopt,
         "1 messages · my-model"},
        {"a custom model shows its name",
         {},
         5,
         "gpt-4",
         "Office Llama",
         "5 messages · Office Llama"},
    };
    for (const auto& c : cases) {
        ChatDetailState chat;
        chat.conversation.bookmarkId = 1;
        chat.conversation.extraBookmarkIds = c.extraBookmarks;
        chat.conversation.messageCount = c.messageCount;
        chat.conversation.model = c.model;
        if (c.customName) {
            CustomModel custom;
            custom.name = *c.customName;
            custom.modelId = "llama3";
            chat.customModel = custom;
            chat.conversation.customModelId = 4;
        }
        EXPECT_EQ(chatRowDetail(chat), c.expected) << c.what;
    }
}

}  // namespace
}  // namespace folvane
