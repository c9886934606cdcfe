#include "shell/settings/models/PerplexitySettingsView.h"

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"

namespace folvane {

PerplexitySettingsView::PerplexitySettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                               AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Perplexity AI"), parent) {
    addNameField();
    addKeyField(QStringLiteral("API key provided by Perplexity AI."));
    addEndpointField(QStringLiteral("API Host:"),
                     rowHost(CustomModelDefaults::formEndpoint(providers::perplexityAI)));
    addModelPicker({ModelSection{"", model_lists::perplexity()}},
                   rowModelId(CustomModelDefaults::formModelId(providers::perplexityAI)));
    finish();
}

}  // namespace folvane
