#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace folvane {

// Runs the newest of a burst of blocks, at most once per minimumDelay, on a
// thread of its own. The first block after a pause runs at once; in a burst
// each block replaces the one still waiting, so a block that carries the whole
// text so far loses nothing when an earlier one is dropped. A block that has
// begun is never cancelled.
class Throttler {
  public:
    explicit Throttler(std::chrono::duration<double> minimumDelay);
    // A block still waiting runs at its time before the throttler goes.
    ~Throttler();
    Throttler(const Throttler&) = delete;
    Throttler& operator=(const Throttler&) = delete;

    void throttle(std::function<void()> block);

  private:
    using Clock = std::chrono::steady_clock;
    void run(std::stop_token stop);

    const Clock::duration minimumDelay_;
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::function<void()> pending_;
    Clock::time_point due_;
    std::optional<Clock::time_point> previousRun_;  // none: the distant past
    std::jthread worker_;
};

}  // namespace folvane
