#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// Groq: the key and a model of the fixed list, on Groq's endpoint.
class GroqSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    GroqSettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                     QWidget* parent = nullptr);
};

}  // namespace folvane
