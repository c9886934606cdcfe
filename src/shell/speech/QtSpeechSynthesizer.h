#pragma once

#include <QObject>
#include <QTextToSpeech>

#include "platform/SpeechSynthesizer.h"

namespace folvane {

// Reads text aloud with Qt's text-to-speech, on the flite engine where it is
// installed (English voices, nothing leaves the machine), else on the first
// engine that Qt offers.
class QtSpeechSynthesizer final : public QObject, public SpeechSynthesizer {
    Q_OBJECT
  public:
    explicit QtSpeechSynthesizer(QObject* parent = nullptr);
    ~QtSpeechSynthesizer() override;

    void say(const std::string& text) override;
    void stop() override;

    QString engine() const;
    bool isSpeaking() const;

  private:
    QTextToSpeech* speech_ = nullptr;
    bool speaking_ = false;
};

}  // namespace folvane
