#include "shell/settings/models/OllamaSettingsView.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>

#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"
#include "store/AppPreferences.h"

namespace folvane {

OllamaSettingsView::OllamaSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                       AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("Ollama"), parent) {
    const auto& row = state().model;
    addNameField();
    const std::string endpoint = row && !row->apiEndpoint.empty()
                                     ? row->apiEndpoint
                                     : CustomModelDefaults::formEndpoint(providers::ollama);
    addEndpointField(QStringLiteral("Base URL:"), QString::fromStdString(endpoint),
                     QStringLiteral("http://localhost:11434"));
    auto* picker = addModelPicker({}, rowModelId({}), true);
    // The server may not answer yet: a model can be typed by hand.
    picker->setEditable(true);
    picker->lineEdit()->setAccessibleName(picker->accessibleName());
    picker->lineEdit()->setPlaceholderText(QStringLiteral("llama2"));
    setModelChoices(modelChoices());
    status_ = new QLabel(this);
    status_->setTextFormat(Qt::PlainText);
    status_->setWordWrap(true);
    form()->addRow(QString(), status_);
    // A row the form never saved shows the usual context of a local model.
    const bool saved = row && !row->modelId.empty();
    addContextField(saved ? QString::number(row->contextLength) : QStringLiteral("2048"),
                    QStringLiteral("2048"));
    addStreamField(QStringLiteral("Stream Responses?"), row ? row->useStream : true);
    finish();
}

std::vector<ModelSection> OllamaSettingsView::modelChoices() const {
    const auto& available = state().availableModels;
    if (!available.empty()) return {ModelSection{"", available}};
    return chatModelChoices(providers::ollama, nlohmann::json::array(),
                            preferences().ollamaModels());
}

void OllamaSettingsView::renderFields(const ProviderFormState& state) {
    if (state.isCheckingEndpoint || state.loadingModelList) {
        status_->setText(QStringLiteral("Asking the server for its models…"));
    } else if (state.isOnline) {
        status_->setText(QStringLiteral("Online: %1 models").arg(state.availableModels.size()));
    } else {
        status_->clear();
    }
    status_->setVisible(!status_->text().isEmpty());
}

}  // namespace folvane
