#pragma once

#include "shell/settings/models/ProviderFormView.h"

namespace folvane {

// A local Ollama server: its base URL, a model of the list that "Refresh"
// asks the server for (or one typed by hand), the context length and
// streaming. Saving asks the server for its list first.
class OllamaSettingsView final : public ProviderFormView {
    Q_OBJECT
  public:
    OllamaSettingsView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                       QWidget* parent = nullptr);

    QLabel* statusLabel() const { return status_; }

  protected:
    std::vector<ModelSection> modelChoices() const override;
    void renderFields(const ProviderFormState& state) override;

  private:
    QLabel* status_;
};

}  // namespace folvane
