#pragma once

#include <functional>

namespace folvane {

// Where every change of a published state happens, one block at a time and in
// the order of posting. The window runs it on its event loop; the CLI and the
// tests on a BlockingMainQueue.
class MainQueue {
  public:
    virtual ~MainQueue() = default;
    // Never waits for the block to run.
    virtual void post(std::function<void()> block) = 0;
};

}  // namespace folvane
