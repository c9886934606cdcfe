#include "shell/settings/models/AzureOpenAISettingsView.h"

#include <QLineEdit>

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"

namespace folvane {

AzureOpenAISettingsView::AzureOpenAISettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                                 AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Azure OpenAI"), parent) {
    addNameField();
    const auto& row = state().model;
    addEndpointField(QStringLiteral("API Endpoint:"),
                     row ? QString::fromStdString(row->apiEndpoint) : QString(),
                     QStringLiteral("https://NAME.openai.azure.com/openai/deployments/DEPLOYMENT/"
                                    "chat/completions?api-version=2024-02-01"));
    addHint(QStringLiteral("Your deployment's chat completions URL, with its api-version."));
    addKeyField(QStringLiteral("API key provided by Azure OpenAI."));
    static const std::vector<std::string> azureModels{"gpt-3.5-turbo", "gpt-3.5-turbo-16k", "gpt-4",
                                                      "gpt-4-32k"};
    addModelPicker({ModelSection{"", azureModels}},
                   rowModelId(CustomModelDefaults::formModelId(providers::azureOpenAI)));
    addStreamField(QStringLiteral("Stream Responses?"), row ? row->useStream : true);
    finish();
}

}  // namespace folvane
