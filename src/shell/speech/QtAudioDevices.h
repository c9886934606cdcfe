#pragma once

#include "speech/AudioDevices.h"

namespace folvane {

// The desktop's recorders and players, through Qt Multimedia.
class QtAudioDevices final : public AudioDevices {
  public:
    std::unique_ptr<AudioRecorder> makeRecorder() override;
    std::unique_ptr<AudioPlayer> makePlayer() override;
};

}  // namespace folvane
