#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "chat/CompletionSink.h"

namespace folvane {

class MainQueue;
class SendFlow;
struct ChatDetailState;

// What the request's task hands back to its chat. The one road from a
// request to the chat's state: every change goes to the main queue and is
// applied there only while the chat lives and this request is still its
// current one, so a request that a newer send replaced writes nothing.
class RequestSink final : public CompletionSink {
  public:
    // The price of the instruction and of every message of the chat; the
    // stored reply's price is added to it in the last step.
    struct Outcome {
        double promptCost = 0;
    };

    RequestSink(std::weak_ptr<SendFlow*> flow, uint64_t generation, MainQueue& mainQueue);

    // A change of the chat's state.
    void change(std::function<void(ChatDetailState&)> edit);
    // The last step: store the reply and its cost, drop the live message.
    void finish(Outcome outcome);

    void setAssistantState(AssistantState state) override;
    void showLiveText(const std::string& answer) override;
    void showAnswer(const std::string& answer) override;
    void setLastFinishReason(const std::string& reason) override;
    void fail(const std::string& words) override;

  private:
    void postIfCurrent(std::function<void(SendFlow&)> block);

    std::weak_ptr<SendFlow*> flow_;
    uint64_t generation_;
    MainQueue& mainQueue_;
};

}  // namespace folvane
