#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace folvane {

class MainQueue;

// A one-shot timer whose block runs on the main queue. Starting it again, or
// cancelling it, drops the block that has not run yet, also when the timer has
// fired and the block still waits in the queue: only the last of a burst runs.
// Used from the main thread; the block must not outlive what it captures, so
// the owner cancels the timer before it goes.
class DebounceTimer {
  public:
    DebounceTimer(MainQueue& mainQueue, std::chrono::milliseconds delay);
    ~DebounceTimer();
    DebounceTimer(const DebounceTimer&) = delete;
    DebounceTimer& operator=(const DebounceTimer&) = delete;

    void start(std::function<void()> block);
    void cancel();

  private:
    MainQueue& mainQueue_;
    const std::chrono::milliseconds delay_;
    // The number of the timer now running; a block of an older one does nothing.
    std::shared_ptr<uint64_t> generation_ = std::make_shared<uint64_t>(0);
    std::mutex mutex_;
    std::condition_variable_any wake_;
    std::jthread waiter_;
};

}  // namespace folvane
