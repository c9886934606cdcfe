#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/AudioPlayer.h"
#include "platform/AudioRecorder.h"
#include "platform/SpeechSynthesizer.h"
#include "speech/AudioDevices.h"

namespace folvane::test {

// What the fake devices did, in order: "play <file>", "stop <file>",
// "record <file>", "say <text>"...
struct DeviceLog {
    std::vector<std::string> events;
    bool contains(const std::string& event) const {
        for (const auto& e : events) {
            if (e == event) return true;
        }
        return false;
    }
};

class FakeAudioPlayer final : public AudioPlayer {
  public:
    explicit FakeAudioPlayer(DeviceLog& log) : log_(log) {}
    void play(const std::filesystem::path& file, float) override {
        if (!std::filesystem::exists(file))
            throw std::runtime_error("No such file: " + file.string());
        file_ = file;
        log_.events.push_back("play " + file.filename().string());
    }
    void pause() override { log_.events.push_back("pause " + file_.filename().string()); }
    void stop() override { log_.events.push_back("stop " + file_.filename().string()); }

  private:
    DeviceLog& log_;
    std::filesystem::path file_;
};

// Writes `clip` (or a few bytes) to the recording's file when it stops, as a
// microphone would have.
class FakeAudioRecorder final : public AudioRecorder {
  public:
    FakeAudioRecorder(DeviceLog& log, std::filesystem::path clip)
        : log_(log), clip_(std::move(clip)) {}
    MicrophoneAccess access() override { return MicrophoneAccess::authorized; }
    void prepare(const std::filesystem::path& file,
                 const AudioRecorderSettings& settings) override {
        file_ = file;
        settings_ = settings;
    }
    void record() override { log_.events.push_back("record " + file_.filename().string()); }
    void stop() override {
        if (clip_.empty()) {
            std::ofstream(file_) << "recorded sound";
        } else {
            std::filesystem::copy_file(clip_, file_,
                                       std::filesystem::copy_options::overwrite_existing);
        }
        log_.events.push_back("stop recording");
        if (finished) finished(true);
    }
    AudioRecorderSettings settings_;

  private:
    DeviceLog& log_;
    std::filesystem::path clip_;
    std::filesystem::path file_;
};

class FakeAudioDevices final : public AudioDevices {
  public:
    std::unique_ptr<AudioRecorder> makeRecorder() override {
        return std::make_unique<FakeAudioRecorder>(log, clip);
    }
    std::unique_ptr<AudioPlayer> makePlayer() override {
        auto player = std::make_unique<FakeAudioPlayer>(log);
        players.push_back(player.get());
        return player;
    }
    // The last player made (still owned by its user).
    FakeAudioPlayer& lastPlayer() { return *players.back(); }

    DeviceLog log;
    std::filesystem::path clip;
    std::vector<FakeAudioPlayer*> players;
};

class FakeSpeechSynthesizer final : public SpeechSynthesizer {
  public:
    explicit FakeSpeechSynthesizer(DeviceLog& log) : log_(log) {}
    void say(const std::string& text) override { log_.events.push_back("say " + text); }
    void stop() override { log_.events.push_back("stop saying"); }

  private:
    DeviceLog& log_;
};

}  // namespace folvane::test
