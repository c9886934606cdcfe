#include "shell/settings/models/GroqSettingsView.h"

#include <QLineEdit>

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"

namespace folvane {

GroqSettingsView::GroqSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                   AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Groq"), parent) {
    addNameField();
    // Groq's endpoint is fixed: shown so that the user sees where requests go.
    addEndpointField(QStringLiteral("API Endpoint:"),
                     QString::fromStdString(CustomModelDefaults::formEndpoint(providers::groq)))
        ->setReadOnly(true);
    addKeyField(QStringLiteral("API key provided by Groq."));
    addModelPicker({ModelSection{"", model_lists::groq()}},
                   rowModelId(CustomModelDefaults::formModelId(providers::groq)));
    finish();
}

}  // namespace folvane
