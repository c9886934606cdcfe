#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// A failure of the Anthropic messages client. what() is its description, the
// words the settings form shows.
class AnthropicAPIError : public std::runtime_error {
  public:
    enum class Case {
        requestFailed,
        responseUnsuccessful,
        jsonDecodingFailure,
        dataCouldNotBeReadMissingData,
        invalidData,
        bothDecodingStrategiesFailed,
        timeOutError,
    };

    AnthropicAPIError(Case errorCase, const std::string& description)
        : std::runtime_error(description), case_(errorCase) {}
    // The cases whose description is fixed.
    explicit AnthropicAPIError(Case errorCase)
        : std::runtime_error(fixedDescription(errorCase)), case_(errorCase) {}

    Case errorCase() const { return case_; }

  private:
    static const char* fixedDescription(Case errorCase) {
        switch (errorCase) {
            case Case::invalidData:
                return "Invalid data";
            case Case::bothDecodingStrategiesFailed:
                return "Decoding strategies failed.";
            case Case::timeOutError:
                return "Time Out Error.";
            default:
                return "The Anthropic API could not be reached.";
        }
    }

    Case case_;
};

}  // namespace folvane
