#include "shell/speech/QtSpeechSynthesizer.h"

#include <stdexcept>

namespace folvane {
namespace {

const char* const noVoice =
    "No voice for reading aloud is installed. Install the package qt6-speech-flite-plugin, or "
    "turn off On-device speech in Settings > General.";

}  // namespace

QtSpeechSynthesizer::QtSpeechSynthesizer(QObject* parent) : QObject(parent) {
    const QStringList engines = QTextToSpeech::availableEngines();
    if (engines.isEmpty()) return;
    const QString engine =
        engines.contains(QStringLiteral("flite")) ? QStringLiteral("flite") : engines.first();
    speech_ = new QTextToSpeech(engine, this);
    connect(speech_, &QTextToSpeech::stateChanged, this, [this](QTextToSpeech::State state) {
        if (state != QTextToSpeech::Ready || !speaking_) return;
        speaking_ = false;
        if (finished) finished();
    });
}

QtSpeechSynthesizer::~QtSpeechSynthesizer() {
    finished = nullptr;
    if (speech_) speech_->stop(QTextToSpeech::BoundaryHint::Immediate);
}

QString QtSpeechSynthesizer::engine() const {
    return speech_ ? speech_->engine() : QString();
}

bool QtSpeechSynthesizer::isSpeaking() const {
    return speech_ && speech_->state() == QTextToSpeech::Speaking;
}

void QtSpeechSynthesizer::say(const std::string& text) {
    if (!speech_ || speech_->state() == QTextToSpeech::Error ||
        speech_->availableVoices().isEmpty())
        throw std::runtime_error(noVoice);
    speaking_ = true;
    speech_->say(QString::fromStdString(text));
}

void QtSpeechSynthesizer::stop() {
    speaking_ = false;
    if (speech_) speech_->stop(QTextToSpeech::BoundaryHint::Immediate);
}

}  // namespace folvane
