#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "conversation/ViewModel.h"
#include "store/Prompt.h"

namespace folvane {

class ChatService;
class MainQueue;

struct PromptListState {
    // The prompt library in list order: as stored after a sync, as moved after
    // a drag, new prompts at the end.
    std::vector<Prompt> allPrompts;
    // The words of the last failure, shown to the user; cleared by the next input.
    std::optional<std::string> alert;
};

namespace prompt_list_input {
// Shows or hides a prompt in the picker.
struct UpdatePromptEnable {
    int64_t id = 0;
    bool enable = true;
};
// Moves a prompt so that it stands at newPosition (from 0) of the list, and
// numbers every row's sortOrder after its new place.
struct UpdatePromptSortOrder {
    int64_t id = 0;
    int newPosition = 0;
};
struct RemovePrompts {
    std::set<int64_t> ids;
};
// Adds a prompt that is already stored to the end of the list.
struct AppendPrompt {
    Prompt prompt;
};
// Replaces a prompt, in the store and in the list.
struct UpdatePrompt {
    int64_t id = 0;
    Prompt prompt;
};
struct Sync {};
}  // namespace prompt_list_input

using PromptListInput =
    std::variant<prompt_list_input::UpdatePromptEnable, prompt_list_input::UpdatePromptSortOrder,
                 prompt_list_input::RemovePrompts, prompt_list_input::AppendPrompt,
                 prompt_list_input::UpdatePrompt, prompt_list_input::Sync>;

// The prompt library, as the settings table and the picker beside the message
// box show it. Inputs come on the main thread; the store work of each runs on
// a task of its own, whose change reaches the state on the main queue. Two
// quick changes may land in either order, and the last to land wins. A failed
// write is logged and becomes the alert, the list left as it was (a move keeps
// the rows renumbered before the failure).
class PromptListViewModel final : public PublishingViewModel<PromptListState, PromptListInput> {
  public:
    PromptListViewModel(ChatService& service, MainQueue& mainQueue);
    // Waits for the running tasks; their changes are dropped.
    ~PromptListViewModel() override;
    PromptListViewModel(const PromptListViewModel&) = delete;
    PromptListViewModel& operator=(const PromptListViewModel&) = delete;

    void trigger(PromptListInput input) override;

    // What the add form's "Add Prompt" does: stores a prompt with the two
    // texts, enabled, at sortOrder 0, reads it back and appends it. Neither
    // text is checked. Runs on the calling (main) thread, so that the form
    // stays open with the error's words when it throws.
    Prompt addPrompt(const std::string& name, const std::string& content);
    // "Duplicate": a copy of the prompt's name and text, added as the form adds.
    Prompt duplicatePrompt(const Prompt& prompt);

    // True while a task's change has not yet reached the state.
    bool isWorking() const { return pending_ > 0; }

  private:
    using Change = std::function<void(PromptListState&)>;
    struct Task {
        std::atomic<bool> finished = false;
        std::jthread thread;
    };

    void sync();
    void updatePromptEnable(int64_t id, bool enable);
    void updatePromptSortOrder(int64_t id, int newPosition);
    void removePrompts(const std::set<int64_t>& ids);
    void updatePrompt(int64_t id, const Prompt& prompt);
    // Runs work on a task and applies the change it returns on the main
    // queue; a work that throws leaves its words in the alert.
    void inBackground(std::function<Change()> work);

    ChatService& service_;
    MainQueue& mainQueue_;
    int pending_ = 0;
    // Posted blocks hold it weakly: a block that outlives the list does nothing.
    std::shared_ptr<PromptListViewModel*> alive_;
    std::list<std::shared_ptr<Task>> tasks_;
};

}  // namespace folvane
