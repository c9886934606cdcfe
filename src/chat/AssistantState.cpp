#include "chat/AssistantState.h"

#include <array>
#include <utility>

namespace folvane {

namespace {

constexpr std::array<std::pair<AssistantState, std::string_view>, 6> names{{
    {AssistantState::idle, "idle"},
    {AssistantState::failed, "failed"},
    {AssistantState::thinking, "thinking"},
    {AssistantState::typing, "typing"},
    {AssistantState::searching, "searching"},
    {AssistantState::reading, "reading"},
}};

}  // namespace

std::string_view rawValue(AssistantState state) {
    for (const auto& [value, name] : names) {
        if (value == state) return name;
    }
    return "idle";
}

std::optional<AssistantState> assistantStateFromRaw(std::string_view raw) {
    for (const auto& [value, name] : names) {
        if (name == raw) return value;
    }
    return std::nullopt;
}

std::string_view statusWords(AssistantState state) {
    switch (state) {
        case AssistantState::thinking:
            return "Assistant is thinking...";
        case AssistantState::typing:
            return "Assistant is typing...";
        case AssistantState::searching:
            return "Searching the web...";
        case AssistantState::reading:
            return "Reading the document...";
        case AssistantState::idle:
        case AssistantState::failed:
            break;
    }
    return "";
}

}  // namespace folvane
