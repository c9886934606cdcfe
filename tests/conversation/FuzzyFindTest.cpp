#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "conversation/FuzzyFind.h"
#include "conversation/PromptPicker.h"
#include "runtime/BlockingMainQueue.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;

struct AlignmentCase {
    const char* name;
    const char* query;
    // The byte offsets chosen, or none for no alignment.
    std::optional<std::vector<size_t>> positions;
};

TEST(FuzzyFindTest, PlacesEveryQueryCharacterInOrderOrNone) {
    const std::vector<AlignmentCase> cases = {
        {"Summarize", "sum", std::vector<size_t>{0, 1, 2}},
        {"Key points", "kp", std::vector<size_t>{0, 4}},
        {"Key points", "pk", std::nullopt},
        {"Explain simply", "EXPLAIN", std::vector<size_t>{0, 1, 2, 3, 4, 5, 6}},
        {"Glossary", "gx", std::nullopt},
        {"Quiz me", "quiz me", std::vector<size_t>{0, 1, 2, 3, 4, 5, 6}},
        {"Quiz me", "quizme ", std::nullopt},
        {"", "a", std::nullopt},
        {"Action items", "", std::vector<size_t>{}},
        // Case folding beyond ASCII; offsets count bytes of UTF-8.
        {"Résumé court", "RÉSC", std::vector<size_t>{0, 1, 3, 9}},
        // Consecutive characters beat the same characters apart.
        {"a-b ab", "ab", std::vector<size_t>{4, 5}},
        // A word's start beats a letter inside a word.
        {"photo top", "to", std::vector<size_t>{6, 7}},
        // An upper-case letter after a lower-case one starts a word too.
        {"findName", "fn", std::vector<size_t>{0, 4}},
        // A long gap costs more than a short one when nothing else differs.
        {"xaxxxaxb", "ab", std::vector<size_t>{5, 7}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.name) + " / " + row.query);
        const auto alignment = fuzzyAlign(row.query, row.name);
        ASSERT_EQ(alignment.has_value(), row.positions.has_value());
        if (alignment) {
            EXPECT_EQ(alignment->positions, *row.positions);
        }
    }
}

TEST(FuzzyFindTest, ScoresWithTheLibraryConstants) {
    // s at the start: 16 + 2 * 8; u and m each 16 + 11 for following.
    EXPECT_EQ(fuzzyAlign("sum", "Summarize")->score, 32 + 27 + 27);
    // k at the start (32); p after a space (16 + 8) across a gap of three (-6).
    EXPECT_EQ(fuzzyAlign("kp", "Key points")->score, 32 - 6 + 24);
    // One character skipped costs 3, two cost 5.
    EXPECT_EQ(fuzzyAlign("ac", "abc")->score, 32 - 3 + 16);
    EXPECT_EQ(fuzzyAlign("ad", "abcd")->score, 32 - 5 + 16);
}

Prompt prompt(int64_t id, const std::string& name, bool enable = true) {
    Prompt made;
    made.id = id;
    made.name = name;
    made.enable = enable;
    return made;
}

std::vector<int64_t> ids(const std::vector<Prompt>& prompts) {
    std::vector<int64_t> result;
    for (const auto& p : prompts) result.push_back(p.id);
    return result;
}

TEST(FuzzyFindTest, PickerKeepsEnabledAlignedPromptsInListOrder) {
    const std::vector<Prompt> all = {
        prompt(4, "Summarize as a table"),
        prompt(1, "Quiz me"),
        prompt(2, "Summary", false),
        prompt(3, "summarize"),
        prompt(5, "Sum up"),
    };
    EXPECT_THAT(ids(promptsForPicker(all, "")), ElementsAre(4, 1, 3, 5));
    EXPECT_THAT(ids(promptsForPicker(all, "sum")), ElementsAre(4, 3, 5));
    // "Quiz me" aligns best, at a word's start: the list order stays all the same.
    EXPECT_THAT(ids(promptsForPicker(all, "me")), ElementsAre(4, 1, 3));
    EXPECT_THAT(ids(promptsForPicker(all, "smz")), ElementsAre(4, 3));
    EXPECT_THAT(ids(promptsForPicker(all, "zz")), ElementsAre());
}

TEST(FuzzyFindTest, PickerSearchHandsOnlyTheLastResultToTheMainQueue) {
    BlockingMainQueue queue;
    std::vector<std::vector<int64_t>> results;
    {
        PromptPickerSearch search(
            queue, [&](std::vector<Prompt> shown) { results.push_back(ids(shown)); });
        const std::vector<Prompt> all = {prompt(1, "Key points"), prompt(2, "Glossary")};
        search.search(all, "k");
        search.search(all, "g");
        ASSERT_TRUE(queue.runUntil([&] { return !results.empty(); }, std::chrono::seconds(10)));
        // Both tasks have posted by now (the second joined the first).
        queue.drain();
        EXPECT_EQ(results, (std::vector<std::vector<int64_t>>{{2}}));

        search.search(all, "o");
    }
    // Gone before its result ran: nothing more arrives.
    queue.drain();
    EXPECT_EQ(results.size(), 1u);
}

}  // namespace
}  // namespace folvane
