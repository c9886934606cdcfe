#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Log.h"

namespace folvane::test {

// Collects the log lines written while it lives.
class LogCapture {
  public:
    LogCapture() {
        setLogSink([this](std::string_view line) {
            std::scoped_lock lock(mutex_);
            lines_.emplace_back(line);
        });
    }
    ~LogCapture() { setLogSink(nullptr); }

    std::vector<std::string> lines() {
        std::scoped_lock lock(mutex_);
        return lines_;
    }
    bool contains(const std::string& line) { return count(line) > 0; }
    long count(const std::string& line) {
        const auto all = lines();
        return std::count(all.begin(), all.end(), line);
    }
    // Whether some line holds `text`.
    bool mentions(const std::string& text) {
        const auto all = lines();
        return std::any_of(all.begin(), all.end(),
                           [&](const std::string& line) { return line.find(text) != line.npos; });
    }

  private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace folvane::test
