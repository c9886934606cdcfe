#include <gtest/gtest.h>

#include "conversation/PromptDragPayload.h"

namespace folvane {
namespace {

TEST(PromptDragPayloadTest, WritesTheRecordsKeysInOrderAndReadsThemBack) {
    Prompt prompt;
    prompt.id = 12;
    prompt.name = "Résumé / short";
    prompt.prompt = "Say it in \"three\" lines.\nNo more.";
    prompt.enable = false;
    prompt.sortOrder = 4;
    prompt.lastUsedAt = *parseDate("2024-03-01 09:30:00");
    const std::string payload = encodePromptPayload(prompt);
    EXPECT_EQ(
        payload,
        R"({"id":12,"name":"Résumé \/ short","icon":"💬","prompt":"Say it in \"three\" )"
        R"(lines.\nNo more.","enable":false,"sortOrder":4,"lastUsedAt":"2024-03-01 09:30:00"})");
    EXPECT_EQ(decodePromptPayload(payload), prompt);
    // The fields that are not stored may be left out.
    EXPECT_EQ(
        decodePromptPayload(R"({"id":1,"name":"A","prompt":"B","enable":true,"sortOrder":3})").icon,
        "💬");
}

TEST(PromptDragPayloadTest, RefusesWhatIsNotAPromptWithTheReason) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"file:///tmp/a.pdf", "The dragged item is not a prompt."},
        {R"({"id":1,"name":"A","enable":true,"sortOrder":0})", "The dragged prompt has no prompt."},
        {R"({"id":"one","name":"A","prompt":"B","enable":true,"sortOrder":0})",
         "The dragged prompt has a field of the wrong type."},
    };
    for (const auto& [payload, words] : cases) {
        try {
            decodePromptPayload(payload);
            ADD_FAILURE() << "accepted " << payload;
        } catch (const PromptPayloadError& error) {
            EXPECT_EQ(error.what(), words);
        }
    }
}

}  // namespace
}  // namespace folvane
