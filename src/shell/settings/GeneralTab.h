#pragma once

#include "shell/settings/SettingsPage.h"

class QLabel;
class QMediaPlayer;

namespace folvane {

// The General tab: how chat windows and messages behave, the tag put on
// indexed documents, OCR for forms, and what the user asks of every chat
// (reopening a document's last chat, suggested questions, a standing
// instruction); dictation and reading aloud (the transcription's language,
// sending after dictation, the voice and its sample, the voice model, and
// speech on this computer without an account).
class GeneralTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit GeneralTab(AppPreferences& preferences, QWidget* parent = nullptr);

    // The voice sample's place on the web: streamed, never stored.
    static QString voiceSampleUrl(const QString& voice);
    // What the line beside "Play" says now: empty, "Playing...", or the failure.
    QString sampleStatus() const;

  private:
    void addSpeechGroups(QFormLayout* form);
    void playSample(const QString& voice);

    QMediaPlayer* samplePlayer_ = nullptr;
    QLabel* sampleStatus_ = nullptr;
};

}  // namespace folvane
