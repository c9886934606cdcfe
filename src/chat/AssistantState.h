#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// What the assistant of a chat is doing, as the status line under the last
// message shows it. The raw values are the case names.
enum class AssistantState {
    idle,       // nothing running: a request ended, was cancelled or never started
    failed,     // the last request failed; lastError says why
    thinking,   // a send was accepted, no answer yet
    typing,     // the answer's text is arriving
    searching,  // searching the web (nothing sets it yet)
    reading,    // the model asked to read a page of a document
};

std::string_view rawValue(AssistantState state);
std::optional<AssistantState> assistantStateFromRaw(std::string_view raw);

// The words of the status line, or empty for idle and failed (failed shows
// the error itself).
std::string_view statusWords(AssistantState state);

}  // namespace folvane
