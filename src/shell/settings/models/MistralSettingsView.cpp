#include "shell/settings/models/MistralSettingsView.h"

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"
#include "store/AppPreferences.h"

namespace folvane {

MistralSettingsView::MistralSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                         AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Mistral AI"), parent) {
    addNameField();
    addKeyField(QStringLiteral("API key provided by Mistral AI."));
    addEndpointField(QStringLiteral("API Host:"),
                     rowHost(CustomModelDefaults::formEndpoint(providers::mistralAI)));
    addModelPicker(modelChoices(),
                   rowModelId(CustomModelDefaults::formModelId(providers::mistralAI)), true);
    const auto& row = state().model;
    addContextField(row ? QString::number(row->contextLength) : QString(), QStringLiteral("8096"));
    finish();
}

std::vector<ModelSection> MistralSettingsView::modelChoices() const {
    // The list that "Refresh" stored, else the fixed one.
    std::vector<std::string> models;
    const auto stored = preferences().mistralModels();
    if (stored.is_array()) {
        for (const auto& entry : stored) {
            if (entry.is_object() && entry.contains("id") && entry["id"].is_string())
                models.push_back(entry["id"].get<std::string>());
        }
    }
    return {ModelSection{"", models.empty() ? model_lists::mistral() : models}};
}

}  // namespace folvane
