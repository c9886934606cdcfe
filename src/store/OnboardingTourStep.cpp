#include "store/OnboardingTourStep.h"

namespace folvane {

std::string_view rawValue(OnboardingTourStep value) {
    switch (value) {
        case OnboardingTourStep::stepZero:
            return "stepZero";
        case OnboardingTourStep::stepChatList:
            return "stepChatList";
        case OnboardingTourStep::stepSetup:
            return "stepSetup";
        case OnboardingTourStep::stepChatMessage:
            return "stepChatMessage";
        case OnboardingTourStep::stepCustomize:
            return "stepCustomize";
        case OnboardingTourStep::stepOpen:
            return "stepOpen";
    }
    return "stepZero";
}

std::optional<OnboardingTourStep> onboardingTourStepFromRaw(std::string_view raw) {
    for (auto value : allOnboardingTourSteps) {
        if (rawValue(value) == raw) return value;
    }
    return std::nullopt;
}

}  // namespace folvane
