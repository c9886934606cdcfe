#include "shell/settings/models/OpenAISettingsView.h"

#include <QDoubleSpinBox>
#include <QLineEdit>

#include "providers/ModelNames.h"
#include "store/AppPreferences.h"

namespace folvane {

OpenAISettingsView::OpenAISettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                                       AppPreferences& preferences, QWidget* parent)
    : ProviderFormView(std::move(viewModel), preferences, QStringLiteral("OpenAI"), parent) {
    addKeyField(QStringLiteral("API key provided by OpenAI."), QStringLiteral("sk-..."));
    addModelPicker(
        chatModelChoices(providers::openAI, nlohmann::json::array(), nlohmann::json::array()),
        preferences.defaultModel());
    addNote(QStringLiteral(
        "You can always change the model later. Note that GPT-4 is slower and more expensive."));

    temperature_ = new QDoubleSpinBox(this);
    temperature_->setRange(0.0, 2.0);
    temperature_->setSingleStep(0.1);
    temperature_->setDecimals(1);
    temperature_->setValue(preferences.defaultTemperature());
    addRow(QStringLiteral("Temperature:"), temperature_);

    addEndpointField(QStringLiteral("API Host:"), QString::fromStdString(preferences.customHost()),
                     QStringLiteral("api.openai.com"));
    addHint(QStringLiteral("Note: exclude protocols and paths (https://, /v1/chat, etc.)"));
    organization_ =
        new QLineEdit(QString::fromStdString(preferences.organizationIdentifier()), this);
    organization_->setPlaceholderText(QStringLiteral("org-xxxxx"));
    addRow(QStringLiteral("Organization ID:"), organization_);
    finish();
}

ProviderFormFields OpenAISettingsView::fields() const {
    ProviderFormFields fields = ProviderFormView::fields();
    fields.temperature = temperature_->value();
    fields.organizationIdentifier = organization_->text().trimmed().toStdString();
    return fields;
}

void OpenAISettingsView::setAsDefault() {
    ProviderFormView::setAsDefault();
    // The built-in route needs a key: one typed but not yet saved is checked now.
    if (!state().hasSavedKey && !fields().apiKey.empty())
        send(provider_form_input::CheckAndSave{fields()});
}

}  // namespace folvane
