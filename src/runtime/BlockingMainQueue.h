#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "runtime/MainQueue.h"

namespace folvane {

// A main queue without an event loop: the thread that owns it runs the posted
// blocks when it calls drain() or runUntil(). The CLI's loop and the tests'.
class BlockingMainQueue final : public MainQueue {
  public:
    void post(std::function<void()> block) override;

    // Runs the blocks posted so far, and those they post; returns how many ran.
    size_t drain();
    // Runs blocks as they are posted until done() holds (checked after each
    // block and at the start) or the timeout passes; true when done() held.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

  private:
    std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<std::function<void()>> blocks_;
};

}  // namespace folvane
