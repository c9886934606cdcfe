#pragma once

#include "shell/settings/SettingsPage.h"

class QKeySequence;
class QKeySequenceEdit;
class QLabel;

namespace folvane {

class GlobalShortcut;

// The Integrations tab: the search engine that web search asks, and the
// global shortcut that opens the browser's PDF, with a line when the desktop
// refused its key.
class IntegrationsTab final : public SettingsPage {
    Q_OBJECT
  public:
    // shortcut: whose state the tab shows; none shows no state.
    explicit IntegrationsTab(AppPreferences& preferences, GlobalShortcut* shortcut = nullptr,
                             QWidget* parent = nullptr);
    ~IntegrationsTab() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void record(const QKeySequence& key);
    void showStatus();

    GlobalShortcut* shortcut_;
    QKeySequenceEdit* recorder_ = nullptr;
    QLabel* refused_ = nullptr;
    QLabel* taken_ = nullptr;
    QLabel* unavailable_ = nullptr;
};

}  // namespace folvane
