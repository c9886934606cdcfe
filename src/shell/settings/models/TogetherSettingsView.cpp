#include "shell/settings/models/TogetherSettingsView.h"

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"
#include "providers/TogetherModels.h"

namespace folvane {

TogetherSettingsView::TogetherSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                           AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Together AI"), parent) {
    addNameField();
    addKeyField(QStringLiteral("API key provided by Together AI."));
    std::vector<std::string> models;
    for (const auto& model : togetherModels()) models.emplace_back(model.id);
    addModelPicker({ModelSection{"", std::move(models)}},
                   rowModelId(CustomModelDefaults::formModelId(providers::togetherAI)));
    setFixedEndpoint(CustomModelDefaults::formEndpoint(providers::togetherAI));
    finish();
}

}  // namespace folvane
