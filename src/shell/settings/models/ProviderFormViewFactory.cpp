#include "shell/settings/models/ProviderFormViewFactory.h"

#include "shell/settings/models/AnthropicNewSettingsView.h"
#include "shell/settings/models/AzureOpenAISettingsView.h"
#include "shell/settings/models/CustomModelSettingsView.h"
#include "shell/settings/models/GoogleAISettingsView.h"
#include "shell/settings/models/GroqSettingsView.h"
#include "shell/settings/models/MistralSettingsView.h"
#include "shell/settings/models/OllamaSettingsView.h"
#include "shell/settings/models/OpenAISettingsView.h"
#include "shell/settings/models/OpenRouterSettingsView.h"
#include "shell/settings/models/PerplexitySettingsView.h"
#include "shell/settings/models/TogetherSettingsView.h"

namespace folvane {

std::unique_ptr<ProviderFormView> makeProviderFormView(ProviderForm form,
                                                       std::unique_ptr<ProviderFormRef> viewModel,
                                                       AppPreferences& preferences,
                                                       QWidget* parent) {
    auto vm = std::move(viewModel);
    switch (form) {
        case ProviderForm::openAI:
            return std::make_unique<OpenAISettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::azure:
            return std::make_unique<AzureOpenAISettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::openRouter:
            return std::make_unique<OpenRouterSettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::mistral:
            return std::make_unique<MistralSettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::perplexity:
            return std::make_unique<PerplexitySettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::together:
            return std::make_unique<TogetherSettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::groq:
            return std::make_unique<GroqSettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::ollama:
            return std::make_unique<OllamaSettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::anthropic:
            return std::make_unique<AnthropicNewSettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::googleAI:
            return std::make_unique<GoogleAISettingsView>(std::move(vm), preferences, parent);
        case ProviderForm::openAIKeyModal:
        case ProviderForm::custom:
            break;
    }
    return std::make_unique<CustomModelSettingsView>(std::move(vm), preferences, parent);
}

}  // namespace folvane
