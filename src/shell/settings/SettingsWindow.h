#pragma once

#include <QWidget>
#include <array>

class QTabWidget;

namespace folvane {

class AppCore;
class GlobalShortcut;

// The tabs of the settings, in their order.
enum class SettingsTab { general, models, appearance, prompts, integrations, privacy, advanced };

inline constexpr std::array allSettingsTabs = {
    SettingsTab::general,      SettingsTab::models,  SettingsTab::appearance, SettingsTab::prompts,
    SettingsTab::integrations, SettingsTab::privacy, SettingsTab::advanced};

// The one settings window: a tab per subject, each control bound live to its
// setting. The window manager keeps one and brings it forward when asked again.
class SettingsWindow final : public QWidget {
    Q_OBJECT
  public:
    // shortcut: the global shortcut whose state the Integrations tab shows.
    explicit SettingsWindow(AppCore& core, QWidget* parent = nullptr,
                            GlobalShortcut* shortcut = nullptr);

    // The tab's title and its identifier, the object name of its page.
    static QString title(SettingsTab tab);
    static QString identifier(SettingsTab tab);

    void showTab(SettingsTab tab);
    SettingsTab currentTab() const;
    // The page of a tab as the tab bar holds it.
    QWidget* page(SettingsTab tab) const;
    QTabWidget* tabs() const { return tabs_; }

  private:
    QTabWidget* tabs_;
};

}  // namespace folvane
