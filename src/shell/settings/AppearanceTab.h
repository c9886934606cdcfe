#pragma once

#include "shell/settings/SettingsPage.h"

namespace folvane {

// The Appearance tab: light or dark, and how messages look: their text size
// and line spacing, the fonts of text and code, and the colours of code in
// light and dark.
class AppearanceTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit AppearanceTab(AppPreferences& preferences, QWidget* parent = nullptr);

    // A style's name for people: "atom-one-dark-reasonable" reads
    // "Atom One Dark Reasonable".
    static QString themeTitle(std::string_view rawValue);
};

}  // namespace folvane
