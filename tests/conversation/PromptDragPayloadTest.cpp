#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "conversation/PromptDragPayload.h"

namespace folvane {
namespace {

Prompt sample() {
    Prompt prompt;
    prompt.id = 12;
    prompt.name = "Résumé / short";
    prompt.prompt = "Say it in \"three\" lines.\nNo more.";
    prompt.enable = false;
    prompt.sortOrder = 4;
    prompt.lastUsedAt = *parseDate("2024-03-01 09:30:00");
    return prompt;
}

TEST(PromptDragPayloadTest, WritesTheRecordsKeysInOrderAndReadsThemBack) {
    const std::string payload = encodePromptPayload(sample());
    EXPECT_EQ(
        payload,
        R"({"id":12,"name":"Résumé \/ short","icon":"💬","prompt":"Say it in \"three\" )"
        R"(lines.\nNo more.","enable":false,"sortOrder":4,"lastUsedAt":"2024-03-01 09:30:00"})");
    EXPECT_EQ(decodePromptPayload(payload), sample());
    EXPECT_EQ(promptContentType, "co.tessavel.Folvane.prompt");
}

TEST(PromptDragPayloadTest, RefusesWhatIsNotAPromptWithTheReason) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"file:///tmp/a.pdf", "The dragged item is not a prompt."},
        {"[1, 2]", "The dragged item is not a prompt."},
        {R"({"id":1,"name":"A","enable":true,"sortOrder":0})", "The dragged prompt has no prompt."},
        {R"({"id":"one","name":"A","prompt":"B","enable":true,"sortOrder":0})",
         "The dragged prompt has a field of the wrong type."},
        {R"({"id":1,"name":"A","prompt":"B","enable":true,"sortOrder":0,"lastUsedAt":"soon"})",
         "The dragged prompt has an unreadable lastUsedAt."},
    };
    for (const auto& [payload, words] : cases) {
        SCOPED_TRACE(payload);
        try {
            decodePromptPayload(payload);
            ADD_FAILURE() << "accepted";
        } catch (const PromptPayloadError& error) {
            EXPECT_EQ(error.what(), words);
        }
    }
    // The fields that are not stored may be left out.
    const Prompt bare =
        decodePromptPayload(R"({"id":1,"name":"A","prompt":"B","enable":true,"sortOrder":3})");
    EXPECT_EQ(bare.icon, "💬");
    EXPECT_EQ(bare.sortOrder, 3);
}

}  // namespace
}  // namespace folvane
