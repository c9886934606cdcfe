#include "conversation/RequestSink.h"

#include "conversation/ChatDetailState.h"
#include "conversation/SendFlow.h"
#include "runtime/MainQueue.h"

namespace folvane {

RequestSink::RequestSink(std::weak_ptr<SendFlow*> flow, uint64_t generation, MainQueue& mainQueue)
    : flow_(std::move(flow)), generation_(generation), mainQueue_(mainQueue) {}

void RequestSink::postIfCurrent(std::function<void(SendFlow&)> block) {
    mainQueue_.post([flow = flow_, generation = generation_, block = std::move(block)] {
        auto self = flow.lock();
        if (self && (*self)->requestGeneration_ == generation) block(**self);
    });
}

void RequestSink::change(std::function<void(ChatDetailState&)> edit) {
    postIfCurrent([edit = std::move(edit)](SendFlow& flow) { flow.update(edit); });
}

void RequestSink::finish(Outcome outcome) {
    postIfCurrent([outcome](SendFlow& flow) { flow.finishRequest(outcome); });
}

void RequestSink::setAssistantState(AssistantState state) {
    change([state](ChatDetailState& s) { s.assistantState = state; });
}

void RequestSink::showLiveText(const std::string& answer) {
    change([answer](ChatDetailState& s) {
        if (s.liveMessage) s.liveMessage->content = answer;
    });
}

void RequestSink::showAnswer(const std::string& answer) {
    change([answer](ChatDetailState& s) {
        if (s.assistantState == AssistantState::typing && s.liveMessage) {
            s.liveMessage->content = answer;
        }
    });
}

void RequestSink::setLastFinishReason(const std::string& reason) {
    change([reason](ChatDetailState& s) { s.lastFinishReason = reason; });
}

void RequestSink::fail(const std::string& words) {
    change([words](ChatDetailState& s) {
        s.lastError = words;
        s.assistantState = AssistantState::failed;
    });
}

}  // namespace folvane
