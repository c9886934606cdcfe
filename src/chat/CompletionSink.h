#pragma once

#include <string>

#include "chat/AssistantState.h"

namespace folvane {

// Where a CompletionStream sends what the user sees of one request. The calls
// come from the request's task (the live text from the throttle's thread), in
// the order of the changes, and never wait: an implementation hands each one
// to the main queue, where the chat's state is written, and drops it there
// once a newer request has replaced this one.
class CompletionSink {
  public:
    virtual ~CompletionSink() = default;

    virtual void setAssistantState(AssistantState state) = 0;
    // The answer so far, for the live message when one is present.
    virtual void showLiveText(const std::string& answer) = 0;
    // The whole answer at the end of a pass: written to the live message when
    // one is present and the assistant is typing.
    virtual void showAnswer(const std::string& answer) = 0;
    virtual void setLastFinishReason(const std::string& reason) = 0;
    // The request failed with these words: lastError, and the state failed.
    virtual void fail(const std::string& words) = 0;
};

}  // namespace folvane
