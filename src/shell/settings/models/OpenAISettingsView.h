#pragma once

#include "shell/settings/models/ProviderFormView.h"

class QDoubleSpinBox;

namespace folvane {

// The built-in route: the OpenAI key (kept in the secret store), the default
// model and temperature of new chats, and another host and organization for
// the OpenAI client.
class OpenAISettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    OpenAISettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                       QWidget* parent = nullptr);

    ProviderFormFields fields() const override;
    QDoubleSpinBox* temperatureField() const { return temperature_; }
    QLineEdit* organizationField() const { return organization_; }

  protected:
    void setAsDefault() override;

  private:
    QDoubleSpinBox* temperature_;
    QLineEdit* organization_;
};

}  // namespace folvane
