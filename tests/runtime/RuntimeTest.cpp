#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "runtime/BlockingMainQueue.h"
#include "runtime/ObserverList.h"
#include "runtime/Throttler.h"
namespace folvane {
namespace {

using namespace std::chrono_literals;

// Waits, up to a generous limit, for a condition that a background thread makes true.
bool eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

TEST(ThrottlerTest, TheFirstBlockAfterAPauseRunsAtOnceAndABurstRunsOnlyItsNewest) {
    // A delay far beyond the waits below: the first block can only have run
    // because it was not delayed.
    Throttler throttler(30s);
    std::atomic<int> ran{0};
    throttler.throttle([&] { ran = 1; });
    ASSERT_TRUE(eventually([&] { return ran == 1; }));

    Throttler fast(300ms);
    std::mutex mutex;
    std::vector<int> order;
    auto record = [&](int value) {
        return [&, value] {
            std::lock_guard lock(mutex);
            order.push_back(value);
        };
    };
    fast.throttle(record(1));
    ASSERT_TRUE(eventually([&] {
        std::lock_guard lock(mutex);
        return order.size() == 1;
    }));
    fast.throttle(record(2));  // within the delay: waits...
    fast.throttle(record(3));  // ...and is replaced by this one
    ASSERT_TRUE(eventually([&] {
        std::lock_guard lock(mutex);
        return order.size() == 2;
    }));
    std::this_thread::sleep_for(400ms);
    std::lock_guard lock(mutex);
    EXPECT_EQ(order, (std::vector<int>{1, 3}));
}

TEST(ThrottlerTest, AWaitingBlockStillRunsWhenTheThrottlerGoes) {
    std::atomic<int> ran{0};
    {
        Throttler throttler(200ms);
        throttler.throttle([&] { ++ran; });
        ASSERT_TRUE(eventually([&] { return ran == 1; }));
        throttler.throttle([&] { ran += 10; });
    }
    EXPECT_EQ(ran, 11);
}

TEST(BlockingMainQueueTest, RunsBlocksInPostingOrderIncludingThoseTheyPost) {
    BlockingMainQueue queue;
    std::vector<int> order;
    queue.post([&] {
        order.push_back(1);
        queue.post([&] { order.push_back(3); });
    });
    queue.post([&] { order.push_back(2); });
    EXPECT_EQ(queue.drain(), 3u);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(BlockingMainQueueTest, RunUntilWaitsForPostsFromOtherThreads) {
    BlockingMainQueue queue;
    int received = 0;
    std::jthread producer([&] {
        for (int i = 0; i < 100; ++i) queue.post([&] { ++received; });
    });
    EXPECT_TRUE(queue.runUntil([&] { return received == 100; }, 10s));
    EXPECT_FALSE(queue.runUntil([] { return false; }, 20ms));
}

TEST(ObserverListTest, AnObserverMayCancelItselfOrAnotherDuringANotification) {
    auto list = std::make_unique<ObserverList<int>>();
    std::vector<int> calls;
    Subscription second;
    Subscription first = list->subscribe([&](int value) {
        calls.push_back(value);
        second.cancel();
    });
    second = list->subscribe([&](int value) { calls.push_back(value * 100); });
    Subscription self;
    self = list->subscribe([&](int value) {
        calls.push_back(value * 10);
        self.cancel();
    });
    list->notify(1);
    list->notify(2);
    EXPECT_EQ(calls, (std::vector<int>{1, 10, 2}));

    // A subscription may outlive its list.
    list.reset();
    first.cancel();
}

}  // namespace
}  // namespace folvane
