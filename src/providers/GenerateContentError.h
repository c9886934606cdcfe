#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "providers/GenerateContentResponse.h"

namespace folvane {

// A failure of the Gemini client, as the Google AI form shows it.
class GenerateContentError : public std::runtime_error {
  public:
    enum class Case {
        internalError,  // anything else: the underlying error's words
        promptBlocked,
        responseStoppedEarly,
        invalidAPIKey,
        unsupportedUserLocation,
    };

    static GenerateContentError internalError(const std::string& underlying);
    static GenerateContentError promptBlocked(GenerateContentResponse response);
    static GenerateContentError responseStoppedEarly(FinishReason reason,
                                                     GenerateContentResponse response);
    static GenerateContentError invalidAPIKey();
    static GenerateContentError unsupportedUserLocation();

    Case errorCase() const { return case_; }
    // The answer that was blocked or stopped early.
    const std::optional<GenerateContentResponse>& response() const { return response_; }

  private:
    GenerateContentError(Case errorCase, const std::string& words,
                         std::optional<GenerateContentResponse> response = std::nullopt)
        : std::runtime_error(words), case_(errorCase), response_(std::move(response)) {}

    Case case_;
    std::optional<GenerateContentResponse> response_;
};

}  // namespace folvane
