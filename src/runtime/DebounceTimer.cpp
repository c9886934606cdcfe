#include "runtime/DebounceTimer.h"

#include "runtime/MainQueue.h"

namespace folvane {

DebounceTimer::DebounceTimer(MainQueue& mainQueue, std::chrono::milliseconds delay)
    : mainQueue_(mainQueue), delay_(delay) {}

DebounceTimer::~DebounceTimer() {
    cancel();
}

void DebounceTimer::start(std::function<void()> block) {
    cancel();
    const uint64_t number = *generation_;
    std::weak_ptr<uint64_t> generation = generation_;
    waiter_ = std::jthread(
        [this, number, generation, block = std::move(block)](std::stop_token stop) mutable {
            std::unique_lock lock(mutex_);
            if (wake_.wait_for(lock, stop, delay_, [] { return false; }) || stop.stop_requested()) {
                return;
            }
            lock.unlock();
            mainQueue_.post([number, generation, block = std::move(block)] {
                const auto current = generation.lock();
                if (current && *current == number) block();
            });
        });
}

void DebounceTimer::cancel() {
    ++*generation_;
    if (waiter_.joinable()) {
        waiter_.request_stop();
        waiter_.join();
    }
}

}  // namespace folvane
