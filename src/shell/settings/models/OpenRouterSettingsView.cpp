#include "shell/settings/models/OpenRouterSettingsView.h"

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"
#include "store/AppPreferences.h"

namespace folvane {

OpenRouterSettingsView::OpenRouterSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                               AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("OpenRouter"), parent) {
    addNameField();
    addKeyField(QStringLiteral("API key provided by OpenRouter."));
    const auto choices = modelChoices();
    addModelPicker(choices, rowModelId(choices.front().models.front()));
    setFixedEndpoint(CustomModelDefaults::formEndpoint(providers::openRouter));
    finish();
}

std::vector<ModelSection> OpenRouterSettingsView::modelChoices() const {
    // The stored catalogue, or the fixed list while it is empty.
    return chatModelChoices(providers::openRouter, preferences().openRouterModels(),
                            nlohmann::json::array());
}

}  // namespace folvane
