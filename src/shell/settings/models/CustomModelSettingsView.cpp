#include "shell/settings/models/CustomModelSettingsView.h"

#include "store/AppPreferences.h"

namespace folvane {

CustomModelSettingsView::CustomModelSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                                 AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences,
                       QStringLiteral("OpenAI-compatible Server"), parent) {
    const auto& row = state().model;
    addNameField(QStringLiteral("Name*:"));
    addEndpointField(QStringLiteral("API Endpoint:"),
                     row ? QString::fromStdString(row->apiEndpoint) : QString(),
                     QStringLiteral("http://localhost:1234/v1/chat/completions"));
    addHint(QStringLiteral("Only chat completions endpoint is supported"));
    addKeyField(QStringLiteral("Leave blank if not required"));
    addModelField(QStringLiteral("Model ID:"),
                  row ? QString::fromStdString(row->modelId) : QString());
    addHint(QStringLiteral("Leave blank if not required"));
    addContextField(row && row->contextLength > 0 ? QString::number(row->contextLength) : QString(),
                    QStringLiteral("2048"));
    addHint(QStringLiteral("Leave blank if not required"));
    addStreamField(QStringLiteral("Stream Responses?"), row ? row->useStream : true);
    finish();
}

}  // namespace folvane
