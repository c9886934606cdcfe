#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// OpenRouter: the key and a model of the stored catalogue (or the fixed list
// while the catalogue is empty).
class OpenRouterSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    OpenRouterSettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                           QWidget* parent = nullptr);

  protected:
    std::vector<ModelSection> modelChoices() const override;
};

}  // namespace folvane
