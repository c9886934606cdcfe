#include "runtime/BlockingMainQueue.h"

namespace folvane {

void BlockingMainQueue::post(std::function<void()> block) {
    {
        std::lock_guard lock(mutex_);
        blocks_.push_back(std::move(block));
    }
    posted_.notify_one();
}

size_t BlockingMainQueue::drain() {
    size_t count = 0;
    for (;;) {
        std::function<void()> block;
        {
            std::lock_guard lock(mutex_);
            if (blocks_.empty()) return count;
            block = std::move(blocks_.front());
            blocks_.pop_front();
        }
        block();
        ++count;
    }
}

bool BlockingMainQueue::runUntil(const std::function<bool()>& done,
                                 std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        drain();
        if (done()) return true;
        std::unique_lock lock(mutex_);
        if (!posted_.wait_until(lock, deadline, [this] { return !blocks_.empty(); })) {
            lock.unlock();
            drain();
            return done();
        }
    }
}

}  // namespace folvane
