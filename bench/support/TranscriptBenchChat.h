#pragma once

#include <string>
#include <vector>

#include "conversation/ChatDetailViewModel.h"
#include "conversation/ViewModel.h"

namespace folvane::bench {

// A chat whose state the benchmark writes; its inputs go nowhere.
class TranscriptBenchChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    TranscriptBenchChat() : PublishingViewModel(ChatDetailState{}) {}
    void trigger(ChatDetailInput) override {}
    void set(const std::function<void(ChatDetailState&)>& change) { updateState(change); }

    static Message message(int64_t id, std::string role, std::string content) {
        Message m;
        m.id = id;
        m.role = std::move(role);
        m.content = std::move(content);
        return m;
    }

    // Questions and answers in turn, each answer with a code block; the last
    // message's key is the count.
    static std::vector<Message> longChat(int count) {
        std::vector<Message> messages;
        for (int i = 1; i <= count; ++i) {
            const auto n = std::to_string(i);
            messages.push_back(i % 2 ? message(i, "user", "Question " + n)
                                     : message(i, "assistant",
                                               "Answer " + n +
                                                   " explains the *chain* of blocks.\n\n```cpp\n"
                                                   "int work(int nonce) {\n    return "
                                                   "hash(nonce) < target;\n}\n```\n\nThen the "
                                                   "next step follows."));
        }
        return messages;
    }
};

}  // namespace folvane::bench
