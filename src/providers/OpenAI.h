#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "platform/HttpClient.h"
#include "providers/AudioQueries.h"
#include "providers/ChatQuery.h"
#include "providers/ChatResult.h"
#include "providers/ChatStreamResult.h"
#include "providers/Configuration.h"
#include "providers/EmbeddingsQuery.h"
#include "providers/ModelsResult.h"

namespace folvane {

// The OpenAI-compatible wire client. Every address, path, token and extra
// header comes from its Configuration, so one type serves every compatible
// provider. Plain operations run on the caller's thread (a background task)
// and throw: HttpTransportError for the transfer, OpenAIError for an empty
// body, APIErrorResponse for an error body, DecodingError for a body that
// reads as neither. A stop request on the token ends a transfer early.
class OpenAI {
  public:
    using OnResult = std::function<void(const ChatStreamResult& result)>;

    // The OpenAI public endpoint with the token, no organization, 60 seconds.
    OpenAI(std::shared_ptr<HttpClient> http, const std::string& token);
    OpenAI(std::shared_ptr<HttpClient> http, Configuration configuration);
    OpenAI(const OpenAI&) = delete;
    OpenAI& operator=(const OpenAI&) = delete;

    const Configuration& configuration() const { return configuration_; }

    ChatResult chats(const ChatQuery& query, std::stop_token stop = {}) const;
    EmbeddingsResult embeddings(const EmbeddingsQuery& query, std::stop_token stop = {}) const;
    ModelsResult models(std::stop_token stop = {}) const;
    AudioTranscriptionResult audioTranscriptions(const AudioTranscriptionQuery& query,
                                                 std::stop_token stop = {}) const;
    // Downloads the speech and moves it to outputFile, replacing any file
    // there. The status is not examined: an error body lands in the file.
    void audioSpeech(const AudioSpeechQuery& query, const std::filesystem::path& outputFile,
                     std::stop_token stop = {}) const;

    // Streams a chat completion (with `stream` forced on) on the caller's
    // thread: onResult gets each event in order, as it comes off the wire, and
    // the first error of the stream is thrown once the transfer has stopped. A
    // stop request ends the transfer with HttpTransportError cancelled.
    void streamChats(const ChatQuery& query, const OnResult& onResult,
                     std::stop_token stop = {}) const;

    // The request of a JSON operation, with the standard and custom headers.
    HttpRequest jsonRequest(const std::string& path, const char* method,
                            const std::optional<nlohmann::json>& body) const;

  private:
    HttpRequest streamRequest(const ChatQuery& query) const;
    std::string performPlain(const HttpRequest& request, std::stop_token stop) const;
    template <typename Result>
    Result decodePlain(const HttpRequest& request, std::stop_token stop) const;

    std::shared_ptr<HttpClient> http_;
    Configuration configuration_;
};

}  // namespace folvane
