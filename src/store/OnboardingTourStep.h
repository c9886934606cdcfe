#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace folvane {

// Where the user stands in the first-use tour.
enum class OnboardingTourStep {
    stepZero,
    stepChatList,
    stepSetup,
    stepChatMessage,
    stepCustomize,
    stepOpen
};

inline constexpr std::array allOnboardingTourSteps = {
    OnboardingTourStep::stepZero,      OnboardingTourStep::stepChatList,
    OnboardingTourStep::stepSetup,     OnboardingTourStep::stepChatMessage,
    OnboardingTourStep::stepCustomize, OnboardingTourStep::stepOpen};

// The raw string is the case's name.
std::string_view rawValue(OnboardingTourStep value);
std::optional<OnboardingTourStep> onboardingTourStepFromRaw(std::string_view raw);

}  // namespace folvane
