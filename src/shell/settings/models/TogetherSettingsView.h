#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Together AI: the key and a model of the fixed catalogue.
class TogetherSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    TogetherSettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                         QWidget* parent = nullptr);
};

}  // namespace folvane
