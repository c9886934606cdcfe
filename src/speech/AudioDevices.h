#pragma once

#include <memory>

namespace folvane {

class AudioPlayer;
class AudioRecorder;

// Makes the platform's recorder and player; the window hands in the desktop's,
// tests their own.
class AudioDevices {
  public:
    virtual ~AudioDevices() = default;
    virtual std::unique_ptr<AudioRecorder> makeRecorder() = 0;
    virtual std::unique_ptr<AudioPlayer> makePlayer() = 0;
};

}  // namespace folvane
