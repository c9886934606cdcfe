#pragma once

#include <memory>
#include <vector>

#include "conversation/ChatListViewModel.h"

namespace folvane::test {

// A chat whose state the test writes and whose inputs it reads back: for the
// views' own rules, which do not depend on what an input does.
class RecordingChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    void trigger(ChatDetailInput input) override { inputs.push_back(std::move(input)); }
    template <typename Change>
    void change(Change&& edit) {
        updateState(std::forward<Change>(edit));
    }

    template <typename T>
    std::vector<T> sent() const {
        std::vector<T> found;
        for (const auto& input : inputs) {
            if (const auto* typed = std::get_if<T>(&input)) found.push_back(*typed);
        }
        return found;
    }

    std::vector<ChatDetailInput> inputs;
};

// The recording chat and the reference a view holds, sharing it.
struct RecordingChatRef {
    std::shared_ptr<RecordingChat> chat = std::make_shared<RecordingChat>();
    ChatDetailRef ref{chat};
};

}  // namespace folvane::test
