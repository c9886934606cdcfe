#include "speech/Recording.h"

#include "platform/AudioPlayer.h"
#include "platform/Log.h"
#include "platform/Uuid.h"

namespace folvane {

namespace {

AudioRecorderSettings recorderSettings(bool onDevice) {
    AudioRecorderSettings settings;
    if (onDevice) {
        // What the on-device recogniser's acoustic model was trained on.
        settings.format = AudioFileFormat::wav;
        settings.sampleRate = 16000.0;
        settings.bitRate = 256000;
    }
    return settings;
}

}  // namespace

Recording::Recording(AudioDevices& devices, bool onDevice)
    : devices_(devices),
      filename_("recording-" + newUuid() + (onDevice ? ".wav" : ".m4a")),
      url_(std::filesystem::temp_directory_path() / filename_),
      settings_(recorderSettings(onDevice)) {}

Recording::~Recording() {
    stop();
}

void Recording::prepare() {
    auto recorder = devices_.makeRecorder();
    recorder->finished = [](bool success) {
        log("audioRecorderDidFinishRecording");
        log(success ? "Recording finished successfully" : "Recording finished unsuccessfully");
    };
    recorder->encodeError = [](const std::string& description) {
        log("audioRecorderEncodeErrorDidOccur " + description);
    };
    recorder->prepare(url_, settings_);
    recorder_ = std::move(recorder);
}

void Recording::record() {
    log("Saving to " + url_.string());
    if (!recorder_) prepare();
    recorder_->record();
    state_ = State::recording;
}

void Recording::play() {
    auto player = devices_.makePlayer();
    player->play(url_, 1.0f);
    player_ = std::move(player);
    state_ = State::playing;
}

void Recording::stop() {
    if (state_ == State::recording && recorder_) {
        recorder_->stop();
        recorder_.reset();
    } else if (state_ == State::playing && player_) {
        player_->stop();
        player_.reset();
    }
    state_ = State::none;
}

}  // namespace folvane
