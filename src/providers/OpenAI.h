#pragma once

#include <condition_variable>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
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

namespace detail {
struct StreamControl;
}

// The caller's hold on a stream started by OpenAI::chatsStream. Copies refer
// to the same stream.
class ChatStreamHandle {
  public:
    ChatStreamHandle() = default;
    explicit ChatStreamHandle(std::shared_ptr<detail::StreamControl> control)
        : control_(std::move(control)) {}

    // Asks the stream to stop. No event is delivered after the request is
    // seen; the completion then carries HttpTransportError `cancelled`, unless
    // the stream had already ended. Cooperative: a callback that is running
    // finishes first.
    void cancel() const;
    // Blocks until the completion callback has returned.
    void wait() const;
    bool isFinished() const;

  private:
    std::shared_ptr<detail::StreamControl> control_;
};

// The OpenAI-compatible wire client. Every address, path, token and extra
// header comes from its Configuration, so one type serves every compatible
// provider. Plain operations run on the caller's thread (a background task)
// and throw: HttpTransportError for the transfer, OpenAIError for an empty
// body, APIErrorResponse for an error body, DecodingError for a body that
// reads as neither. A stop request on the token ends a transfer early.
class OpenAI {
  public:
    using OnResult = std::function<void(const ChatStreamResult& result)>;
    // Called once at the end of a stream: null for a normal end, else the
    // error that ended it.
    using OnCompletion = std::function<void(std::exception_ptr error)>;

    // The OpenAI public endpoint with the token, no organization, 60 seconds.
    OpenAI(std::shared_ptr<HttpClient> http, const std::string& token);
    OpenAI(std::shared_ptr<HttpClient> http, Configuration configuration);
    // Cancels the streams still running and waits for them. Must not run
    // inside one of this client's callbacks.
    ~OpenAI();
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
    // thread: onResult gets each event in order, and the first error of the
    // stream is thrown once the transfer has stopped.
    void streamChats(const ChatQuery& query, const OnResult& onResult,
                     std::stop_token stop = {}) const;

    // The same on a thread of its own. onResult and then onCompletion are
    // called on that thread, in order; onCompletion exactly once.
    ChatStreamHandle chatsStream(const ChatQuery& query, OnResult onResult,
                                 OnCompletion onCompletion);

    // Streams started by chatsStream that have not yet completed.
    size_t runningStreamCount() const;

    // The request of a JSON operation, with the standard and custom headers.
    HttpRequest jsonRequest(const std::string& path, const char* method,
                            const std::optional<nlohmann::json>& body) const;

  private:
    struct RunningStream {
        std::shared_ptr<detail::StreamControl> control;
        std::jthread thread;
    };

    static void runStream(HttpClient& http, const HttpRequest& request, const OnResult& onResult,
                          std::stop_token stop);
    HttpRequest streamRequest(const ChatQuery& query) const;
    std::string performPlain(const HttpRequest& request, std::stop_token stop) const;
    template <typename Result>
    Result decodePlain(const HttpRequest& request, std::stop_token stop) const;

    std::shared_ptr<HttpClient> http_;
    Configuration configuration_;
    mutable std::mutex streamsMutex_;
    std::vector<RunningStream> streamingSessions_;
};

}  // namespace folvane
