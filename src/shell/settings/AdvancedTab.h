#pragma once

#include "shell/settings/SettingsPage.h"

namespace folvane {

// The Advanced tab: how documents are indexed. Where the vectors are made (on
// this machine, by OpenAI, or by OpenAI up to a page count), that page count,
// and how many indexing tasks run side by side. A change applies to documents
// processed afterwards.
class AdvancedTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit AdvancedTab(AppPreferences& preferences, QWidget* parent = nullptr);

  private:
    // Asks before indexing with OpenAI, which costs money; true to go on.
    bool confirmOpenAI();
};

}  // namespace folvane
