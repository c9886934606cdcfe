#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "conversation/PromptSort.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;

TEST(PromptSortTest, ColumnsSortAsAReaderExpectsAndKeepTies) {
    std::vector<Prompt> prompts(5);
    const std::vector<std::tuple<std::string, bool, int>> rows = {
        {"step 10", true, 2}, {"Step 2", false, 0}, {"alpha", true, 1},
        {"Beta", false, 0},   {"step 2", true, 3},
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        prompts[i].id = int64_t(i + 1);
        std::tie(prompts[i].name, prompts[i].enable, prompts[i].sortOrder) = rows[i];
    }
    const auto order = [&](PromptSortKey key, bool ascending) {
        auto sorted = prompts;
        sortPrompts(sorted, key, ascending);
        std::vector<int64_t> ids;
        for (const auto& prompt : sorted) ids.push_back(prompt.id);
        return ids;
    };
    // Case aside and digits by value; "Step 2" and "step 2" keep their order.
    EXPECT_THAT(order(PromptSortKey::name, true), ElementsAre(3, 4, 2, 5, 1));
    EXPECT_THAT(order(PromptSortKey::name, false), ElementsAre(1, 2, 5, 4, 3));
    EXPECT_THAT(order(PromptSortKey::enable, true), ElementsAre(2, 4, 1, 3, 5));
    EXPECT_THAT(order(PromptSortKey::sortOrder, true), ElementsAre(2, 4, 3, 1, 5));
    for (auto key : {PromptSortKey::name, PromptSortKey::prompt, PromptSortKey::enable,
                     PromptSortKey::sortOrder})
        EXPECT_EQ(promptSortKeyFromRaw(rawValue(key)), key);
    EXPECT_FALSE(promptSortKeyFromRaw("colour"));
}

}  // namespace
}  // namespace folvane
