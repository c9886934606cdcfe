#include <gtest/gtest.h>

#include "conversation/MessageSearch.h"
#include "conversation/PageNavigator.h"

namespace folvane {
namespace {

Message message(int64_t id, std::string role, std::string content) {
    Message m;
    m.id = id;
    m.role = std::move(role);
    m.content = std::move(content);
    return m;
}

TEST(MessageSearchTest, FindsWithoutCaseAndMarksOnlyTheTypedCase) {
    const std::vector<Message> messages = {
        message(1, "user", "What is Bitcoin? bitcoin!"),
        message(2, "assistant", "BITCOIN is a currency; Bitcoin too."),
        message(3, "user", "Nothing here"),
        message(4, "application", ""),
        message(5, "assistant", "Über alles"),
    };
    struct Case {
        std::string keyword;
        std::vector<std::pair<int64_t, std::string>> expected;
    };
    const std::vector<Case> cases = {
        {"Bitcoin",
         {{1, "What is **Bitcoin**? bitcoin!"}, {2, "BITCOIN is a currency; ==Bitcoin== too."}}},
        {"bitcoin",
         {{1, "What is Bitcoin? **bitcoin**!"}, {2, "BITCOIN is a currency; Bitcoin too."}}},
        {"here", {{3, "Nothing **here**"}}},
        {"über", {{5, "Über alles"}}},  // found, not marked: the case differs
        {"absent", {}},
        {"", {}},
    };
    for (const auto& c : cases) {
        const auto results = searchMessages(messages, c.keyword);
        ASSERT_EQ(results.size(), c.expected.size()) << c.keyword;
        for (size_t i = 0; i < results.size(); ++i) {
            EXPECT_EQ(results[i].id, c.expected[i].first) << c.keyword;
            EXPECT_EQ(results[i].content, c.expected[i].second) << c.keyword;
        }
    }
    EXPECT_EQ(messages[0].content, "What is Bitcoin? bitcoin!");  // the originals stay
}

// Its signals are observer lists (tests/runtime); what is its own is the
// reference function, which its observers are told of when it is set.
TEST(PageNavigatorTest, SettingTheReferenceFunctionTellsTheObserversOnce) {
    PageNavigator navigator;
    navigator.goToPage.notify(3, std::nullopt);  // no receiver: nothing happens
    int changes = 0;
    auto watch = navigator.subscribe([&] { ++changes; });
    std::optional<int> wentTo;
    navigator.setGoToReference([&](const Reference& reference) { wentTo = reference.page; });
    navigator.goToReference()(Reference{"id", 1, 7, std::nullopt});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(wentTo, 7);
}

}  // namespace
}  // namespace folvane
