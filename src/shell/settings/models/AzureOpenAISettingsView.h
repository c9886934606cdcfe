#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// An Azure OpenAI deployment: its chat completions URL with the api-version
// query, the key and the deployed model.
class AzureOpenAISettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    AzureOpenAISettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                            QWidget* parent = nullptr);
};

}  // namespace folvane
