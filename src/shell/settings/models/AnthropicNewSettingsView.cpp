#include "shell/settings/models/AnthropicNewSettingsView.h"

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"

namespace folvane {

AnthropicNewSettingsView::AnthropicNewSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                                   AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Anthropic"), parent) {
    addNameField();
    addKeyField(QStringLiteral("API key provided by Anthropic."));
    static const std::vector<std::string> anthropicModels{"claude-3-opus-20240229",
                                                          "claude-3-sonnet-20240229", "claude-2.1",
                                                          "claude-2.0", "claude-instant-1.2"};
    addModelPicker({ModelSection{"", anthropicModels}},
                   rowModelId(CustomModelDefaults::formModelId(providers::anthropicAI)));
    const auto& row = state().model;
    setFixedEndpoint(row && !row->apiEndpoint.empty()
                         ? row->apiEndpoint
                         : CustomModelDefaults::formEndpoint(providers::anthropicAI));
    finish();
}

}  // namespace folvane
