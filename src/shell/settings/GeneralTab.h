#pragma once

#include "shell/settings/SettingsPage.h"

namespace folvane {

// The General tab: how chat windows and messages behave, the tag put on
// indexed documents, OCR for forms, and what the user asks of every chat
// (reopening a document's last chat, suggested questions, a standing
// instruction).
class GeneralTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit GeneralTab(AppPreferences& preferences, QWidget* parent = nullptr);
};

}  // namespace folvane
