#pragma once

#include "shell/settings/SettingsPage.h"

namespace folvane {

// The Integrations tab: the search engine that web search asks, and the
// browsers' shortcut, which is not built yet.
class IntegrationsTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit IntegrationsTab(AppPreferences& preferences, QWidget* parent = nullptr);
};

}  // namespace folvane
