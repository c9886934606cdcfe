#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Google AI: the key, a Gemini model and the context length.
class GoogleAISettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    GoogleAISettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                         QWidget* parent = nullptr);
};

}  // namespace folvane
