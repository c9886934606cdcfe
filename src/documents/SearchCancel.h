#pragma once

#include <atomic>

namespace folvane {

// Stops a search of a whole document between two pages; cancel() may be
// called from any thread.
class SearchCancel {
  public:
    void cancel() { cancelled_.store(true); }
    bool cancelled() const { return cancelled_.load(); }

  private:
    std::atomic<bool> cancelled_{false};
};

}  // namespace folvane
