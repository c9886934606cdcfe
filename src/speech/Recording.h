#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/AudioRecorder.h"
#include "speech/AudioDevices.h"

namespace folvane {

class AudioPlayer;

// One dictation: a file in the temporary directory, its recorder while it
// records and a player to hear it back. Main thread only.
class Recording {
  public:
    enum class State { none = 0, recording = 1, playing = 2 };

    // AAC in "recording-<uuid>.m4a", 192 kbit/s, 44.1 kHz, mono; with
    // `onDevice`, 16 kHz mono WAV in "recording-<uuid>.wav" for the on-device
    // recogniser.
    Recording(AudioDevices& devices, bool onDevice = false);
    ~Recording();

    const std::filesystem::path& url() const { return url_; }
    const std::string& filename() const { return filename_; }
    const AudioRecorderSettings& settings() const { return settings_; }
    State state() const { return state_; }

    // Throw std::runtime_error with the user's words.
    void prepare();
    void record();
    void play();
    void stop();

  private:
    AudioDevices& devices_;
    std::string filename_;
    std::filesystem::path url_;
    AudioRecorderSettings settings_;
    State state_ = State::none;
    std::unique_ptr<AudioRecorder> recorder_;
    std::unique_ptr<AudioPlayer> player_;
};

}  // namespace folvane
