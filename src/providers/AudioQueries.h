#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace folvane {

// The JSON body of a text-to-speech request.
struct AudioSpeechQuery {
    std::string model;
    std::string input;
    std::string voice;
    std::optional<std::string> responseFormat;
    std::optional<double> speed;

    bool operator==(const AudioSpeechQuery&) const = default;
};

nlohmann::json toJson(const AudioSpeechQuery& query);

// A speech-to-text request, sent as a multipart body.
struct AudioTranscriptionQuery {
    std::string file;
    std::string fileName;
    std::string model;
    std::optional<std::string> prompt;
    std::optional<double> temperature;
    std::optional<std::string> language;

    // The body with its entries in the order file, model, prompt, temperature,
    // language; an entry without a value is left out.
    std::string multipartBody(const std::string& boundary) const;

    bool operator==(const AudioTranscriptionQuery&) const = default;
};

struct AudioTranscriptionResult {
    std::string text;

    // Throws DecodingError.
    static AudioTranscriptionResult decode(std::string_view text);

    bool operator==(const AudioTranscriptionResult&) const = default;
};

// A number as its shortest decimal text that reads back the same, with ".0"
// after a whole number.
std::string decimalText(double value);

}  // namespace folvane
