#include "shell/settings/models/GoogleAISettingsView.h"

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"

namespace folvane {

GoogleAISettingsView::GoogleAISettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                           AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Google AI"), parent) {
    addNameField();
    addKeyField(QStringLiteral("API key provided by Google AI."));
    static const std::vector<std::string> googleModels{"gemini-1.0-pro", "gemini-1.5-pro-latest"};
    addModelPicker({ModelSection{"", googleModels}},
                   rowModelId(CustomModelDefaults::formModelId(providers::googleAI)));
    const auto& row = state().model;
    addContextField(row && row->contextLength > 0 ? QString::number(row->contextLength)
                                                  : QStringLiteral("1000000"));
    addNote(
        QStringLiteral("Note that Gemini 1.5 Pro might not be available for your account yet."));
    setFixedEndpoint(row && !row->apiEndpoint.empty()
                         ? row->apiEndpoint
                         : CustomModelDefaults::formEndpoint(providers::googleAI));
    finish();
}

}  // namespace folvane
