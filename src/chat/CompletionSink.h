#pragma once

#include <string>

#include "chat/AssistantState.h"

namespace folvane {

// Where a CompletionStream writes what the user sees: the chat's state. Every
// call is made on the main queue, inside a block the stream posted, in the
// order of the changes, so an implementation writes its state directly. One
// sink serves one request; a sink whose request has been replaced by a newer
// one simply ignores the calls.
class CompletionSink {
  public:
    virtual ~CompletionSink() = default;

    // The state as it stands, read before a write that depends on it.
    virtual AssistantState assistantState() const = 0;
    virtual bool hasLiveMessage() const = 0;

    virtual void setAssistantState(AssistantState state) = 0;
    // The content of the live message (only called while one is present).
    virtual void setLiveContent(const std::string& content) = 0;
    virtual void setLastFinishReason(const std::string& reason) = 0;
    // Called together with setAssistantState(failed), just before it.
    virtual void setLastError(const std::string& words) = 0;
};

}  // namespace folvane
