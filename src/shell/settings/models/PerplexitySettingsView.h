#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Perplexity AI: the key, the host and a model of the fixed list.
class PerplexitySettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    PerplexitySettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                           QWidget* parent = nullptr);
};

}  // namespace folvane
