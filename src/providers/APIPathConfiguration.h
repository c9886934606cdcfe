#pragma once

#include <string>

namespace folvane {

// The path of each operation, joined to the base URL with nothing between.
struct APIPathConfiguration {
    std::string completions = "/v1/completions";
    std::string images = "/v1/images/generations";
    std::string embeddings = "/v1/embeddings";
    std::string chats = "/v1/chat/completions";
    std::string edits = "/v1/edits";
    std::string models = "/v1/models";
    std::string moderations = "/v1/moderations";
    std::string audioTranscriptions = "/v1/audio/transcriptions";
    std::string audioTranslations = "/v1/audio/translations";
    std::string audioSpeech = "/v1/audio/speech";

    bool operator==(const APIPathConfiguration&) const = default;
};

}  // namespace folvane
