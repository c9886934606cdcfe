#include "platform/PocketsphinxRecognizer.h"

#include <pocketsphinx.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#ifndef FOLVANE_POCKETSPHINX_MODEL_DIR
#define FOLVANE_POCKETSPHINX_MODEL_DIR "/usr/share/pocketsphinx/model"
#endif

namespace folvane {

namespace {

constexpr int requiredRate = 16000;

uint32_t readLE32(const char* bytes) {
    const auto* b = reinterpret_cast<const unsigned char*>(bytes);
    return b[0] | (b[1] << 8) | (b[2] << 16) | (static_cast<uint32_t>(b[3]) << 24);
}

uint16_t readLE16(const char* bytes) {
    const auto* b = reinterpret_cast<const unsigned char*>(bytes);
    return static_cast<uint16_t>(b[0] | (b[1] << 8));
}

// The samples of a 16-bit mono 16 kHz PCM WAV file.
std::vector<int16_t> readSamples(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error("Could not read the recording " + file.string());
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const std::string name = file.filename().string();
    if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0) {
        throw std::runtime_error(name + " is not a WAV file.");
    }
    bool haveFormat = false;
    size_t offset = 12;
    while (offset + 8 <= bytes.size()) {
        const std::string id = bytes.substr(offset, 4);
        const uint32_t declared = readLE32(bytes.data() + offset + 4);
        const size_t start = offset + 8;
        // A recorder that was stopped abruptly may leave a size larger than
        // what it wrote: take what is there.
        const size_t size = std::min<size_t>(declared, bytes.size() - start);
        if (id == "fmt ") {
            if (size < 16) throw std::runtime_error(name + " has a damaged format header.");
            const uint16_t format = readLE16(bytes.data() + start);
            const uint16_t channels = readLE16(bytes.data() + start + 2);
            const uint32_t rate = readLE32(bytes.data() + start + 4);
            const uint16_t bits = readLE16(bytes.data() + start + 14);
            if (format != 1 || bits != 16 || channels != 1 || rate != requiredRate) {
                throw std::runtime_error(
                    name + " is " + std::to_string(bits) + "-bit, " + std::to_string(channels) +
                    " channel(s) at " + std::to_string(rate) +
                    " Hz; on-device transcription needs 16-bit PCM, mono, at 16000 Hz.");
            }
            haveFormat = true;
        } else if (id == "data") {
            if (!haveFormat) throw std::runtime_error(name + " has no format header.");
            std::vector<int16_t> samples(size / 2);
            for (size_t i = 0; i < samples.size(); ++i) {
                samples[i] = static_cast<int16_t>(readLE16(bytes.data() + start + 2 * i));
            }
            return samples;
        }
        offset = start + size + (size % 2);
    }
    throw std::runtime_error(name + " holds no sound.");
}

}  // namespace

struct PocketsphinxRecognizer::Decoder {
    cmd_ln_t* config = nullptr;
    ps_decoder_t* decoder = nullptr;

    ~Decoder() {
        if (decoder) ps_free(decoder);
        if (config) cmd_ln_free_r(config);
    }
};

PocketsphinxRecognizer::PocketsphinxRecognizer(std::filesystem::path modelDirectory)
    : modelDirectory_(modelDirectory.empty() ? defaultModelDirectory()
                                             : std::move(modelDirectory)) {}

PocketsphinxRecognizer::~PocketsphinxRecognizer() = default;

std::filesystem::path PocketsphinxRecognizer::defaultModelDirectory() {
    return FOLVANE_POCKETSPHINX_MODEL_DIR;
}

std::string PocketsphinxRecognizer::recognize(const std::filesystem::path& wavFile,
                                              std::stop_token stop) {
    const std::vector<int16_t> samples = readSamples(wavFile);
    if (!decoder_) {
        const std::filesystem::path english = modelDirectory_ / "en-us";
        const std::string hmm = (english / "en-us").string();
        const std::string lm = (english / "en-us.lm.bin").string();
        const std::string dict = (english / "cmudict-en-us.dict").string();
        for (const auto& part : {hmm, lm, dict}) {
            if (!std::filesystem::exists(part)) {
                throw std::runtime_error("The on-device speech model is missing: " + part +
                                         " (install pocketsphinx-en-us).");
            }
        }
        auto made = std::make_unique<Decoder>();
        made->config = cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", hmm.c_str(), "-lm", lm.c_str(),
                                   "-dict", dict.c_str(), "-logfn", "/dev/null", nullptr);
        if (!made->config)
            throw std::runtime_error("The on-device speech model could not be set up.");
        made->decoder = ps_init(made->config);
        if (!made->decoder) {
            throw std::runtime_error("The on-device speech model could not be read from " +
                                     english.string() + ".");
        }
        decoder_ = std::move(made);
    }
    ps_decoder_t* ps = decoder_->decoder;
    if (ps_start_utt(ps) < 0) throw std::runtime_error("On-device transcription could not start.");
    if (stop.stop_requested()) {
        ps_end_utt(ps);
        throw std::runtime_error("Transcription was cancelled.");
    }
    // The whole recording at once: the cepstral mean is then taken over all
    // of it, and the first words are heard as well as the others.
    if (ps_process_raw(ps, samples.data(), samples.size(), FALSE, TRUE) < 0) {
        ps_end_utt(ps);
        throw std::runtime_error("On-device transcription failed on " +
                                 wavFile.filename().string() + ".");
    }
    ps_end_utt(ps);
    int32 score = 0;
    const char* hypothesis = ps_get_hyp(ps, &score);
    return hypothesis ? std::string(hypothesis) : std::string();
}

}  // namespace folvane
