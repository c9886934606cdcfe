#pragma once

#include <stdexcept>

namespace folvane {

// A provider's settings from which no client can be made.
class ProviderConfigurationError : public std::runtime_error {
  public:
    enum class Case {
        unusableSettings,     // an endpoint that does not parse, a key header missing
        apiKeyMissing,        // no OpenAI key where one is needed
        unsupportedProvider,  // a provider this client does not speak
    };

    explicit ProviderConfigurationError(Case errorCase)
        : std::runtime_error(words(errorCase)), case_(errorCase) {}

    Case errorCase() const { return case_; }

  private:
    static const char* words(Case errorCase) {
        switch (errorCase) {
            case Case::unusableSettings:
                return "The provider's endpoint or key cannot be used.";
            case Case::apiKeyMissing:
                return "No OpenAI API key is set.";
            case Case::unsupportedProvider:
                return "The provider is not one a chat can use.";
        }
        return "The provider's settings cannot be used.";
    }

    Case case_;
};

}  // namespace folvane
