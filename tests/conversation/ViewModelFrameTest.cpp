#include <gtest/gtest.h>

#include "conversation/AnyViewModel.h"

namespace folvane {
namespace {

struct CounterState {
    int64_t conversationId = 7;
    int count = 0;
    int64_t id() const { return conversationId; }
};
struct Increment {
    int by = 1;
};

class CounterViewModel final : public PublishingViewModel<CounterState, Increment> {
  public:
    void trigger(Increment input) override {
        updateState([&](CounterState& state) { state.count += input.by; });
    }
};

TEST(AnyViewModelTest, ForwardsStateInputsObserversAndIdentity) {
    auto counter = std::make_shared<CounterViewModel>();
    AnyViewModel<CounterState, Increment> any(counter);
    int told = 0;
    auto subscription = any.subscribe([&] { ++told; });
    any.trigger(Increment{2});
    counter->trigger(Increment{3});
    EXPECT_EQ(any.state().count, 5);
    EXPECT_EQ(told, 2);
    EXPECT_EQ(any.id(), 7);

    subscription.cancel();
    any.trigger(Increment{1});
    EXPECT_EQ(told, 2);
}

}  // namespace
}  // namespace folvane
