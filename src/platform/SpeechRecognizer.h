#pragma once

#include <filesystem>
#include <stop_token>
#include <string>

namespace folvane {

// Turns a recording into text on this machine. Called away from the main
// thread; one call at a time per object.
class SpeechRecognizer {
  public:
    virtual ~SpeechRecognizer() = default;

    // The words heard in a 16-bit mono WAV file. Throws std::runtime_error
    // with the user's words when the file or the acoustic model cannot be read.
    virtual std::string recognize(const std::filesystem::path& wavFile,
                                  std::stop_token stop = {}) = 0;
};

}  // namespace folvane
