#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "store/Prompt.h"

namespace folvane {

class MainQueue;

// What the picker beside the message box lists for a search text: the enabled
// prompts, in the order of the list, and with a non-empty text only those
// whose name the text aligns with (fuzzyAlign), still in list order.
std::vector<Prompt> promptsForPicker(const std::vector<Prompt>& allPrompts,
                                     const std::string& searchText);

// The picker's search: each search runs on a task of its own and hands its
// result to onResult on the main queue; a result that a newer search has
// replaced is dropped. Used from the main thread.
class PromptPickerSearch {
  public:
    using ResultHandler = std::function<void(std::vector<Prompt>)>;

    PromptPickerSearch(MainQueue& mainQueue, ResultHandler onResult);
    // Waits for a running search; its result is dropped.
    ~PromptPickerSearch();
    PromptPickerSearch(const PromptPickerSearch&) = delete;
    PromptPickerSearch& operator=(const PromptPickerSearch&) = delete;

    void search(std::vector<Prompt> allPrompts, std::string searchText);

  private:
    MainQueue& mainQueue_;
    ResultHandler onResult_;
    // Posted blocks hold it weakly: a block that outlives the search does nothing.
    std::shared_ptr<PromptPickerSearch*> alive_;
    uint64_t generation_ = 0;
    std::jthread task_;
};

}  // namespace folvane
