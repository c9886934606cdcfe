#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Any OpenAI-compatible server: its chat completions endpoint, and a key,
// model and context length where the server wants them.
class CustomModelSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    CustomModelSettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                            QWidget* parent = nullptr);
};

}  // namespace folvane
