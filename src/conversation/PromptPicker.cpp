#include "conversation/PromptPicker.h"

#include "conversation/FuzzyFind.h"
#include "runtime/MainQueue.h"

namespace folvane {

std::vector<Prompt> promptsForPicker(const std::vector<Prompt>& allPrompts,
                                     const std::string& searchText) {
    std::vector<Prompt> shown;
    for (const auto& prompt : allPrompts) {
        if (!prompt.enable) continue;
        if (!searchText.empty() && !fuzzyAlign(searchText, prompt.name)) continue;
        shown.push_back(prompt);
    }
    return shown;
}

PromptPickerSearch::PromptPickerSearch(MainQueue& mainQueue, ResultHandler onResult)
    : mainQueue_(mainQueue),
      onResult_(std::move(onResult)),
      alive_(std::make_shared<PromptPickerSearch*>(this)) {}

PromptPickerSearch::~PromptPickerSearch() {
    alive_.reset();
}

void PromptPickerSearch::search(std::vector<Prompt> allPrompts, std::string searchText) {
    const uint64_t generation = ++generation_;
    std::weak_ptr<PromptPickerSearch*> alive = alive_;
    // Assigning joins the previous task, which has only a short list to match.
    task_ = std::jthread([alive, generation, allPrompts = std::move(allPrompts),
                          searchText = std::move(searchText), &mainQueue = mainQueue_] {
        auto shown = promptsForPicker(allPrompts, searchText);
        mainQueue.post([alive, generation, shown = std::move(shown)]() mutable {
            auto self = alive.lock();
            if (!self || (*self)->generation_ != generation) return;
            (*self)->onResult_(std::move(shown));
        });
    });
}

}  // namespace folvane
