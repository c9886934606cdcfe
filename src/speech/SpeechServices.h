#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "platform/SpeechRecognizer.h"
#include "platform/SpeechSynthesizer.h"
#include "speech/AudioDevices.h"

namespace folvane {

// What dictation and reading aloud need of the desktop. The window makes one
// and hands it to AppCore::setSpeech before the first chat opens; the command
// line has none (nothing records or plays there).
struct SpeechServices {
    using SynthesizerFactory = std::function<std::unique_ptr<SpeechSynthesizer>()>;
    using RecognizerFactory = std::function<std::unique_ptr<SpeechRecognizer>()>;

    // The microphone and the speakers; null: nothing records or plays.
    AudioDevices* devices = nullptr;
    // Reads text aloud on this machine (the setting onDeviceSpeech); empty:
    // on-device reading fails with its reason.
    SynthesizerFactory makeSynthesizer;
    // Transcribes a WAV recording on this machine: a Recording made with
    // onDevice (the window makes it so when onDeviceSpeech is on). Called on
    // the transcription's task, away from the main thread. Empty:
    // AppCore::setSpeech fills in the pocketsphinx recogniser.
    RecognizerFactory makeRecognizer;
    // Where "sound-start.mp3" and "sound-stop.mp3" are; a missing file is
    // skipped. Empty: AppCore::setSpeech fills in <resources>/sounds.
    std::filesystem::path soundDirectory;
};

}  // namespace folvane
