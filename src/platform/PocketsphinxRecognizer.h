#pragma once

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>

#include "platform/SpeechRecognizer.h"

namespace folvane {

// On-device transcription with pocketsphinx and its US English model (the
// packages libpocketsphinx and pocketsphinx-en-us). The model is read at the
// first recognize() and kept for the later ones.
class PocketsphinxRecognizer final : public SpeechRecognizer {
  public:
    // The folder that holds en-us/ (acoustic model, en-us.lm.bin and
    // cmudict-en-us.dict); empty: the one pocketsphinx was installed with.
    explicit PocketsphinxRecognizer(std::filesystem::path modelDirectory = {});
    ~PocketsphinxRecognizer() override;

    // Takes 16-bit PCM, mono, 16 kHz; other WAV files are refused with their
    // format in the message.
    std::string recognize(const std::filesystem::path& wavFile, std::stop_token stop = {}) override;

    // The folder of the installed model.
    static std::filesystem::path defaultModelDirectory();

  private:
    struct Decoder;
    std::filesystem::path modelDirectory_;
    std::unique_ptr<Decoder> decoder_;
};

}  // namespace folvane
