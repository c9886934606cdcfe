#include "providers/ProviderForm.h"

#include <array>
#include <utility>

#include "providers/ModelNames.h"

namespace folvane {

ProviderForm providerFormFor(std::string_view provider) {
    static constexpr std::array<std::pair<std::string_view, ProviderForm>, 11> forms{{
        {providers::openAI, ProviderForm::openAI},
        {providers::azureOpenAI, ProviderForm::azure},
        {providers::openRouter, ProviderForm::openRouter},
        {providers::mistralAI, ProviderForm::mistral},
        {providers::perplexityAI, ProviderForm::perplexity},
        {providers::togetherAI, ProviderForm::together},
        {providers::groq, ProviderForm::groq},
        {providers::ollama, ProviderForm::ollama},
        {providers::localAI, ProviderForm::custom},
        {providers::anthropicAI, ProviderForm::anthropic},
        {providers::googleAI, ProviderForm::googleAI},
    }};
    for (const auto& [name, form] : forms) {
        if (name == provider) return form;
    }
    // "Anthropic" (the old rows) and every value no form knows.
    return ProviderForm::custom;
}

}  // namespace folvane
