#include <gtest/gtest.h>

#include <regex>

#include "fakes/FakeAudioDevices.h"
#include "speech/Recording.h"
#include "support/LogCapture.h"

namespace folvane {
namespace {

TEST(RecordingTest, ATemporaryFileInTheFormatOfTheTranscriber) {
    test::FakeAudioDevices devices;
    Recording account(devices);
    EXPECT_TRUE(std::regex_match(account.filename(),
                                 std::regex("recording-[0-9a-f]{8}-[0-9a-f-]{27}\\.m4a")))
        << account.filename();
    EXPECT_EQ(account.url(), std::filesystem::temp_directory_path() / account.filename());
    EXPECT_EQ(account.settings(), AudioRecorderSettings{});
    EXPECT_EQ(account.settings().bitRate, 192000);
    EXPECT_EQ(account.settings().sampleRate, 44100.0);

    Recording onDevice(devices, true);
    EXPECT_TRUE(onDevice.filename().ends_with(".wav"));
    EXPECT_NE(onDevice.filename(), account.filename());
    EXPECT_EQ(onDevice.settings().format, AudioFileFormat::wav);
    EXPECT_EQ(onDevice.settings().sampleRate, 16000.0);
    EXPECT_EQ(onDevice.settings().channels, 1);
}

TEST(RecordingTest, RecordStopPlayAndTheRecordersReports) {
    test::FakeAudioDevices devices;
    test::LogCapture log;
    Recording recording(devices);
    recording.record();
    EXPECT_TRUE(log.contains("Saving to " + recording.url().string()));
    EXPECT_EQ(recording.state(), Recording::State::recording);
    recording.stop();
    EXPECT_EQ(recording.state(), Recording::State::none);
    EXPECT_TRUE(log.contains("audioRecorderDidFinishRecording"));
    EXPECT_TRUE(log.contains("Recording finished successfully"));

    recording.play();
    EXPECT_EQ(recording.state(), Recording::State::playing);
    recording.stop();
    recording.stop();  // again: nothing to stop
    EXPECT_EQ(recording.state(), Recording::State::none);
    EXPECT_EQ(
        devices.log.events,
        (std::vector<std::string>{"record " + recording.filename(), "stop recording",
                                  "play " + recording.filename(), "stop " + recording.filename()}));
    std::filesystem::remove(recording.url());
}

}  // namespace
}  // namespace folvane
