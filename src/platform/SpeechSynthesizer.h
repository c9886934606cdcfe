#pragma once

#include <functional>
#include <string>

namespace folvane {

// Reads text aloud on this machine, with no request and no file (the window's
// text-to-speech engine). Every call and every callback on the main thread.
class SpeechSynthesizer {
  public:
    virtual ~SpeechSynthesizer() = default;

    // Throws std::runtime_error with the user's words when no engine or voice
    // is available.
    virtual void say(const std::string& text) = 0;
    virtual void stop() = 0;

    // The text was read to its end (not after stop()).
    std::function<void()> finished;
};

}  // namespace folvane
