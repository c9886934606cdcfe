#include "providers/AudioQueries.h"

#include <charconv>

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

nlohmann::json toJson(const AudioSpeechQuery& query) {
    nlohmann::json value = {{"model", query.model}, {"input", query.input}, {"voice", query.voice}};
    if (query.responseFormat) value["response_format"] = *query.responseFormat;
    if (query.speed) value["speed"] = *query.speed;
    return value;
}

std::string decimalText(double value) {
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string text(buffer, error == std::errc() ? end : buffer);
    if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
    return text;
}

std::string AudioTranscriptionQuery::multipartBody(const std::string& boundary) const {
    std::string body;
    auto entryHeader = [&](const char* name) {
        body += "--" + boundary + "\r\n";
        body += std::string("Content-Disposition: form-data; name=\"") + name + "\"";
    };
    auto textEntry = [&](const char* name, const std::string& value) {
        entryHeader(name);
        body += "\r\n\r\n" + value + "\r\n";
    };

    entryHeader("file");
    body += "; filename=\"" + fileName + "\"\r\n";
    body += "Content-Type: audio/mpeg\r\n\r\n";
    body += file;
    body += "\r\n";
    textEntry("model", model);
    if (prompt) textEntry("prompt", *prompt);
    if (temperature) textEntry("temperature", decimalText(*temperature));
    if (language) textEntry("language", *language);
    body += "--" + boundary + "--\r\n";
    return body;
}

AudioTranscriptionResult AudioTranscriptionResult::decode(std::string_view text) {
    auto value = rd::parse(text);
    rd::object(value, "AudioTranscriptionResult");
    return {rd::string(rd::required(value, "text"), "text")};
}

}  // namespace folvane
