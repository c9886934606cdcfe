#include "shell/speech/QtAudioDevices.h"

#include "shell/speech/QtAudioPlayer.h"
#include "shell/speech/QtAudioRecorder.h"

namespace folvane {

std::unique_ptr<AudioRecorder> QtAudioDevices::makeRecorder() {
    return std::make_unique<QtAudioRecorder>();
}

std::unique_ptr<AudioPlayer> QtAudioDevices::makePlayer() {
    return std::make_unique<QtAudioPlayer>();
}

}  // namespace folvane
