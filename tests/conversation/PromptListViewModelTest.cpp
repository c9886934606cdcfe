#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "chat/AppChatService.h"
#include "conversation/PromptListViewModel.h"
#include "conversation/PromptPicker.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
namespace input = prompt_list_input;

// The seed holds eight prompts, ids 1 to 8, numbered 0 to 7.
class PromptListViewModelTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    AppChatService service{db, preferences};
    BlockingMainQueue queue;
    PromptListViewModel list{service, queue};

    void SetUp() override { send(input::Sync{}); }

    void send(PromptListInput in) {
        list.trigger(std::move(in));
        ASSERT_TRUE(queue.runUntil([&] { return !list.isWorking(); }, std::chrono::seconds(10)));
    }

    std::vector<int64_t> listedIds() const {
        std::vector<int64_t> ids;
        for (const auto& prompt : list.state().allPrompts) ids.push_back(prompt.id);
        return ids;
    }

    // (id, sortOrder) of every stored row, by id.
    std::vector<std::pair<int64_t, int>> storedOrder() const {
        std::vector<std::pair<int64_t, int>> rows;
        auto query = db->prepare("SELECT id, sortOrder FROM prompts ORDER BY id");
        while (query.step()) rows.emplace_back(query.int64(0), int(query.int64(1)));
        return rows;
    }

    void refuse(const std::string& when) {
        db->execute("CREATE TRIGGER refuse " + when +
                    " BEGIN SELECT RAISE(ABORT, 'The prompt is locked'); END");
    }
};

TEST_F(PromptListViewModelTest, MovingOneRowRenumbersEveryRowFromZero) {
    send(input::UpdatePromptSortOrder{8, 1});
    EXPECT_THAT(listedIds(), ElementsAre(1, 8, 2, 3, 4, 5, 6, 7));
    for (size_t i = 0; i < list.state().allPrompts.size(); ++i)
        EXPECT_EQ(list.state().allPrompts[i].sortOrder, int(i));
    EXPECT_THAT(storedOrder(), ElementsAre(Pair(1, 0), Pair(2, 2), Pair(3, 3), Pair(4, 4),
                                           Pair(5, 5), Pair(6, 6), Pair(7, 7), Pair(8, 1)));

    // A position past the end is the last place; an unknown id moves nothing.
    send(input::UpdatePromptSortOrder{1, 99});
    EXPECT_THAT(listedIds(), ElementsAre(8, 2, 3, 4, 5, 6, 7, 1));
    send(input::UpdatePromptSortOrder{42, 0});
    EXPECT_THAT(listedIds(), ElementsAre(8, 2, 3, 4, 5, 6, 7, 1));

    // The store gives rows in row order, whatever their numbers.
    send(input::Sync{});
    EXPECT_THAT(listedIds(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(list.state().allPrompts[0].sortOrder, 7);

    // Removing leaves the others' numbers.
    send(input::RemovePrompts{{2, 5}});
    EXPECT_THAT(listedIds(), ElementsAre(1, 3, 4, 6, 7, 8));
    EXPECT_THAT(storedOrder(), ElementsAre(Pair(1, 7), Pair(3, 2), Pair(4, 3), Pair(6, 5),
                                           Pair(7, 6), Pair(8, 0)));
}

TEST_F(PromptListViewModelTest, AFailedRenumberingKeepsTheRowsWrittenBeforeIt) {
    refuse("BEFORE UPDATE ON prompts WHEN OLD.id = 3");
    send(input::UpdatePromptSortOrder{8, 0});
    ASSERT_TRUE(list.state().alert);
    EXPECT_THAT(*list.state().alert, HasSubstr("The prompt is locked"));
    // 8, 1 and 2 were written; 3 stopped the loop, and the rest keep their numbers.
    EXPECT_THAT(listedIds(), ElementsAre(8, 1, 2, 3, 4, 5, 6, 7));
    std::vector<int> inMemory;
    for (const auto& prompt : list.state().allPrompts) inMemory.push_back(prompt.sortOrder);
    EXPECT_THAT(inMemory, ElementsAre(0, 1, 2, 2, 3, 4, 5, 6));
    EXPECT_THAT(storedOrder(), ElementsAre(Pair(1, 1), Pair(2, 2), Pair(3, 2), Pair(4, 3),
                                           Pair(5, 4), Pair(6, 5), Pair(7, 6), Pair(8, 0)));

    // The next input clears the alert.
    send(input::UpdatePromptEnable{1, false});
    EXPECT_FALSE(list.state().alert);
}

TEST_F(PromptListViewModelTest, ADisabledPromptStaysListedAndLeavesThePicker) {
    send(input::UpdatePromptEnable{2, false});
    EXPECT_FALSE(list.state().allPrompts[1].enable);
    EXPECT_FALSE(service.getPrompt(2)->enable);
    EXPECT_EQ(list.state().allPrompts.size(), 8u);
    EXPECT_EQ(promptsForPicker(list.state().allPrompts, "").size(), 7u);
    EXPECT_TRUE(promptsForPicker(list.state().allPrompts, "key").empty());

    // An id that is not listed starts no work.
    list.trigger(input::UpdatePromptEnable{99, false});
    EXPECT_FALSE(list.isWorking());

    refuse("BEFORE UPDATE ON prompts");
    send(input::UpdatePromptEnable{2, true});
    EXPECT_THAT(*list.state().alert, HasSubstr("The prompt is locked"));
    EXPECT_FALSE(list.state().allPrompts[1].enable);
}

TEST_F(PromptListViewModelTest, AddedAndDuplicatedPromptsLandAtTheEndNumberedZero) {
    const Prompt added = list.addPrompt("Translate", "Translate this document into French.");
    const Prompt copy = list.duplicatePrompt(list.state().allPrompts[0]);
    EXPECT_THAT(listedIds(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, added.id, copy.id));
    EXPECT_EQ(copy.name, "Summarize");
    EXPECT_EQ(copy.prompt, list.state().allPrompts[0].prompt);
    for (const auto& made : {added, copy}) {
        EXPECT_TRUE(made.enable);
        EXPECT_EQ(made.sortOrder, 0);
        EXPECT_EQ(service.getPrompt(made.id)->sortOrder, 0);
    }

    Prompt edited = added;
    edited.name = "Translate to French";
    send(input::UpdatePrompt{added.id, edited});
    EXPECT_EQ(list.state().allPrompts[8].name, "Translate to French");
    EXPECT_EQ(service.getPrompt(added.id)->name, "Translate to French");

    // A failed insert throws the store's words and adds nothing.
    refuse("BEFORE INSERT ON prompts");
    try {
        list.addPrompt("Again", "Again.");
        ADD_FAILURE() << "stored";
    } catch (const DatabaseError& error) {
        EXPECT_THAT(error.what(), HasSubstr("The prompt is locked"));
    }
    EXPECT_EQ(list.state().allPrompts.size(), 10u);
}

}  // namespace
}  // namespace folvane
