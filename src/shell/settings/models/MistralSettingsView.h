#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Mistral AI: the key, the host, the context length and a model of the fixed
// list or of the list that "Refresh" fetches.
class MistralSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    MistralSettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                        QWidget* parent = nullptr);

  protected:
    std::vector<ModelSection> modelChoices() const override;
};

}  // namespace folvane
