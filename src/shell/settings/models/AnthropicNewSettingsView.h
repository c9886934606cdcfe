#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Anthropic: the key and a Claude model.
class AnthropicNewSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    AnthropicNewSettingsView(std::unique_ptr<ProviderFormRef> viewModel,
                             AppPreferences& preferences, QWidget* parent = nullptr);
};

}  // namespace folvane
