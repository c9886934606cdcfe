#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace folvane {

// Plays one sound file. Made by the window (the desktop's multimedia stack)
// and by tests; every call and every callback happens on the main thread.
class AudioPlayer {
  public:
    virtual ~AudioPlayer() = default;

    // Starts playing the file at the volume (0 to 1). Throws
    // std::runtime_error with the user's words when the file cannot be opened
    // or decoded, before anything plays.
    virtual void play(const std::filesystem::path& file, float volume) = 0;
    virtual void pause() = 0;
    virtual void stop() = 0;

    // The file played to its end (not after stop()).
    std::function<void()> finished;
    // Decoding failed while playing, with the description.
    std::function<void(const std::string& description)> failed;
};

}  // namespace folvane
