#include "runtime/Throttler.h"

namespace folvane {

Throttler::Throttler(std::chrono::duration<double> minimumDelay)
    : minimumDelay_(std::chrono::duration_cast<Clock::duration>(minimumDelay)),
      worker_([this](std::stop_token stop) { run(stop); }) {}

Throttler::~Throttler() {
    worker_.request_stop();
    changed_.notify_all();
    worker_.join();
}

void Throttler::throttle(std::function<void()> block) {
    {
        std::lock_guard lock(mutex_);
        const auto now = Clock::now();
        const bool rested = !previousRun_ || now - *previousRun_ > minimumDelay_;
        pending_ = std::move(block);  // the block still waiting, if any, never runs
        due_ = rested ? now : now + minimumDelay_;
    }
    changed_.notify_all();
}

void Throttler::run(std::stop_token stop) {
    std::unique_lock lock(mutex_);
    for (;;) {
        // Wait for a block; on stop, finish the one still waiting first.
        changed_.wait(lock, stop, [this] { return pending_ != nullptr; });
        if (!pending_) return;
        if (!stop.stop_requested()) {
            const auto due = due_;
            changed_.wait_until(lock, stop, due, [this, due] { return due_ != due; });
            if (!stop.stop_requested() && Clock::now() < due_) continue;
        }
        if (stop.stop_requested()) {
            const auto due = due_;
            lock.unlock();
            std::this_thread::sleep_until(due);
            lock.lock();
        } else {
            previousRun_ = Clock::now();
        }
        auto block = std::move(pending_);
        pending_ = nullptr;
        lock.unlock();
        block();
        lock.lock();
        if (stop.stop_requested() && !pending_) return;
    }
}

}  // namespace folvane
