#pragma once

#include "shell/settings/SettingsPage.h"

class QPlainTextEdit;
class QTextBrowser;

namespace folvane {

// The Privacy tab: the four redaction passes, and beside them a sample text
// with what of it leaves this machine under the passes as they stand, redrawn
// as the user types or flips a switch.
class PrivacyTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit PrivacyTab(AppPreferences& preferences, QWidget* parent = nullptr);

    // The preview's two sides.
    QPlainTextEdit* sampleField() const { return sample_; }
    // The sample as the redaction leaves it.
    QString redactedText() const;

  private:
    void showRedacted();

    QPlainTextEdit* sample_ = nullptr;
    QTextBrowser* redacted_ = nullptr;
};

}  // namespace folvane
