#include "conversation/PromptListViewModel.h"

#include <algorithm>

#include "chat/ChatService.h"
#include "platform/Log.h"
#include "runtime/MainQueue.h"
#include "store/SqliteConnection.h"

namespace folvane {

namespace input = prompt_list_input;

namespace {

void replaceById(std::vector<Prompt>& prompts, const Prompt& replacement) {
    for (auto& prompt : prompts) {
        if (prompt.id == replacement.id) prompt = replacement;
    }
}

}  // namespace

PromptListViewModel::PromptListViewModel(ChatService& service, MainQueue& mainQueue)
    : service_(service),
      mainQueue_(mainQueue),
      alive_(std::make_shared<PromptListViewModel*>(this)) {}

PromptListViewModel::~PromptListViewModel() {
    alive_.reset();
    tasks_.clear();  // each task's thread is joined as it goes
}

void PromptListViewModel::trigger(PromptListInput input) {
    if (state().alert) setState(PromptListState{state().allPrompts, std::nullopt});
    std::visit(
        [this](auto&& value) {
            using Case = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Case, input::UpdatePromptEnable>) {
                updatePromptEnable(value.id, value.enable);
            } else if constexpr (std::is_same_v<Case, input::UpdatePromptSortOrder>) {
                updatePromptSortOrder(value.id, value.newPosition);
            } else if constexpr (std::is_same_v<Case, input::RemovePrompts>) {
                removePrompts(value.ids);
            } else if constexpr (std::is_same_v<Case, input::AppendPrompt>) {
                updateState(
                    [&](PromptListState& next) { next.allPrompts.push_back(value.prompt); });
            } else if constexpr (std::is_same_v<Case, input::UpdatePrompt>) {
                updatePrompt(value.id, value.prompt);
            } else {
                sync();
            }
        },
        input);
}

void PromptListViewModel::inBackground(std::function<Change()> work) {
    tasks_.remove_if([](const std::shared_ptr<Task>& task) { return task->finished.load(); });
    ++pending_;
    auto task = std::make_shared<Task>();
    std::weak_ptr<PromptListViewModel*> alive = alive_;
    task->thread = std::jthread(
        [alive, work = std::move(work), &finished = task->finished, &mainQueue = mainQueue_] {
            Change change;
            try {
                change = work();
            } catch (const std::exception& error) {
                log(error.what());
                change = [words = std::string(error.what())](PromptListState& next) {
                    next.alert = words;
                };
            }
            mainQueue.post([alive, change = std::move(change)] {
                const auto self = alive.lock();
                if (!self) return;
                --(*self)->pending_;
                (*self)->updateState(change);
            });
            finished = true;
        });
    tasks_.push_back(std::move(task));
}

void PromptListViewModel::sync() {
    log("PromptListViewModel.sync");
    // A failed read is logged by the store and gives the rows read before it.
    inBackground([&service = service_] {
        auto prompts = service.getPrompts();
        return Change(
            [prompts = std::move(prompts)](PromptListState& next) { next.allPrompts = prompts; });
    });
}

void PromptListViewModel::updatePromptEnable(int64_t id, bool enable) {
    const auto& prompts = state().allPrompts;
    const auto found = std::find_if(prompts.begin(), prompts.end(),
                                    [id](const Prompt& prompt) { return prompt.id == id; });
    if (found == prompts.end()) return;
    Prompt changed = *found;
    changed.enable = enable;
    inBackground([&service = service_, changed] {
        service.updatePrompt(changed.id, changed);
        return Change([changed](PromptListState& next) { replaceById(next.allPrompts, changed); });
    });
}

void PromptListViewModel::updatePromptSortOrder(int64_t id, int newPosition) {
    std::vector<Prompt> prompts = state().allPrompts;
    const auto found = std::find_if(prompts.begin(), prompts.end(),
                                    [id](const Prompt& prompt) { return prompt.id == id; });
    if (found == prompts.end()) return;
    const auto from = size_t(found - prompts.begin());
    const auto to = size_t(std::clamp(newPosition, 0, int(prompts.size()) - 1));
    inBackground([&service = service_, prompts = std::move(prompts), from, to]() mutable {
        Prompt moved = prompts[from];
        prompts.erase(prompts.begin() + std::ptrdiff_t(from));
        prompts.insert(prompts.begin() + std::ptrdiff_t(to), std::move(moved));
        // One update a row, in list order; the rows written before a failure
        // keep their new numbers, in memory as in the store.
        std::optional<std::string> failure;
        for (size_t index = 0; index < prompts.size(); ++index) {
            Prompt renumbered = prompts[index];
            renumbered.sortOrder = int(index);
            try {
                service.updatePrompt(renumbered.id, renumbered);
            } catch (const std::exception& error) {
                log(error.what());
                failure = error.what();
                break;
            }
            prompts[index] = std::move(renumbered);
        }
        return Change([prompts = std::move(prompts), failure](PromptListState& next) {
            next.allPrompts = prompts;
            if (failure) next.alert = failure;
        });
    });
}

void PromptListViewModel::removePrompts(const std::set<int64_t>& ids) {
    inBackground([&service = service_, ids] {
        service.deletePrompts(std::vector<int64_t>(ids.begin(), ids.end()));
        return Change([ids](PromptListState& next) {
            std::erase_if(next.allPrompts,
                          [&](const Prompt& prompt) { return ids.contains(prompt.id); });
        });
    });
}

void PromptListViewModel::updatePrompt(int64_t id, const Prompt& prompt) {
    Prompt replacement = prompt;
    replacement.id = id;
    inBackground([&service = service_, replacement] {
        service.updatePrompt(replacement.id, replacement);
        return Change(
            [replacement](PromptListState& next) { replaceById(next.allPrompts, replacement); });
    });
}

Prompt PromptListViewModel::addPrompt(const std::string& name, const std::string& content) {
    Prompt prompt;
    prompt.name = name;
    prompt.prompt = content;
    prompt.enable = true;
    prompt.sortOrder = 0;
    const int64_t id = service_.insertPrompt(prompt);
    const auto stored = service_.getPrompt(id);
    if (!stored) throw DatabaseError("The new prompt was stored but could not be read back.");
    trigger(input::AppendPrompt{*stored});
    return *stored;
}

Prompt PromptListViewModel::duplicatePrompt(const Prompt& prompt) {
    return addPrompt(prompt.name, prompt.prompt);
}

}  // namespace folvane
