#include "providers/GenerateContentError.h"

namespace folvane {

GenerateContentError GenerateContentError::internalError(const std::string& underlying) {
    return GenerateContentError(Case::internalError, underlying);
}

GenerateContentError GenerateContentError::promptBlocked(GenerateContentResponse response) {
    std::string words = "Google AI blocked the prompt";
    if (response.promptFeedback && response.promptFeedback->blockReason) {
        words += " (" + std::string(rawValue(*response.promptFeedback->blockReason)) + ")";
    }
    return GenerateContentError(Case::promptBlocked, words + ".", std::move(response));
}

GenerateContentError GenerateContentError::responseStoppedEarly(FinishReason reason,
                                                                GenerateContentResponse response) {
    return GenerateContentError(
        Case::responseStoppedEarly,
        "Google AI stopped the answer early (" + std::string(rawValue(reason)) + ").",
        std::move(response));
}

GenerateContentError GenerateContentError::invalidAPIKey() {
    return GenerateContentError(Case::invalidAPIKey,
                                "The API key is not valid: Google AI refused it.");
}

GenerateContentError GenerateContentError::unsupportedUserLocation() {
    return GenerateContentError(Case::unsupportedUserLocation,
                                "Google AI does not offer its API in your location.");
}

}  // namespace folvane
