#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace folvane {

// Whether the microphone may be used, as the desktop tells it. Linux has no
// prompt of its own: `notDetermined` is never reported by the desktop adapter,
// `missing` means that no input device exists at all.
enum class MicrophoneAccess { authorized, notDetermined, denied, restricted, missing };

// The container and codec a recording is written in.
enum class AudioFileFormat {
    aacM4a,  // MPEG-4 AAC, for the transcription service
    wav,     // 16-bit PCM, for on-device recognition
};

struct AudioRecorderSettings {
    AudioFileFormat format = AudioFileFormat::aacM4a;
    int bitRate = 192000;
    double sampleRate = 44100.0;
    int channels = 1;

    bool operator==(const AudioRecorderSettings&) const = default;
};

// Records the default microphone into a file. Made by the window (the desktop's
// multimedia stack) and by tests; every call and every callback happens on the
// main thread.
class AudioRecorder {
  public:
    virtual ~AudioRecorder() = default;

    virtual MicrophoneAccess access() = 0;
    // Opens the device and the file. Throws std::runtime_error with the user's
    // words when either cannot be opened.
    virtual void prepare(const std::filesystem::path& file,
                         const AudioRecorderSettings& settings) = 0;
    // Starts writing (runs prepare() first when it has not run). Throws like prepare().
    virtual void record() = 0;
    // Finishes the file. When it returns the file is complete on disk (the
    // transcription reads it at once, and the recorder is dropped right
    // after); `finished` has run by then or runs later.
    virtual void stop() = 0;

    // The end of a recording, true when the file was written.
    std::function<void(bool success)> finished;
    // An encoder failure, with its description.
    std::function<void(const std::string& description)> encodeError;
};

}  // namespace folvane
