#include "providers/OpenAI.h"

#include <cctype>
#include <random>

#include "providers/APIErrorResponse.h"
#include "providers/DecodingError.h"
#include "providers/OpenAIError.h"
#include "providers/StreamingSession.h"
#include "providers/URLText.h"

namespace folvane {

namespace {

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

// Sets a header, replacing one of the same name in any case.
void setHeader(std::vector<HttpHeader>& headers, const std::string& name,
               const std::string& value) {
    for (auto& header : headers) {
        if (sameName(header.name, name)) {
            header = {name, value};
            return;
        }
    }
    headers.push_back({name, value});
}

std::string newBoundary() {
    std::random_device device;
    std::mt19937_64 generator((static_cast<uint64_t>(device()) << 32) ^ device());
    std::uniform_int_distribution<int> digit(0, 15);
    static const char* hex = "0123456789ABCDEF";
    std::string uuid;
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) uuid += '-';
        int value = digit(generator);
        if (i == 12) value = 4;                // version 4
        if (i == 16) value = 8 | (value & 3);  // the RFC 4122 variant
        uuid += hex[value];
    }
    return uuid;
}

}  // namespace

OpenAI::OpenAI(std::shared_ptr<HttpClient> http, const std::string& token)
    : OpenAI(std::move(http), Configuration::forHost(token, std::nullopt, Configuration::openAIHost,
                                                     Configuration::defaultTimeout)) {}

OpenAI::OpenAI(std::shared_ptr<HttpClient> http, Configuration configuration)
    : http_(std::move(http)), configuration_(std::move(configuration)) {}

HttpRequest OpenAI::jsonRequest(const std::string& path, const char* method,
                                const std::optional<nlohmann::json>& body) const {
    HttpRequest request;
    request.url = configuration_.baseURL + path;
    request.timeoutSeconds = configuration_.timeoutInterval;
    setHeader(request.headers, "Content-Type", "application/json");
    setHeader(request.headers, "Authorization", "Bearer " + configuration_.token);
    if (configuration_.organizationIdentifier) {
        setHeader(request.headers, "OpenAI-Organization", *configuration_.organizationIdentifier);
    }
    for (const auto& [name, value] : configuration_.customHeaders) {
        setHeader(request.headers, name, value);
    }
    request.method = method;
    if (body) request.body = body->dump();
    return request;
}

std::string OpenAI::performPlain(const HttpRequest& request, std::stop_token stop) const {
    if (!isValidURL(request.url)) {
        throw HttpTransportError(HttpTransportError::Kind::badURL, "unsupported URL");
    }
    std::string body;
    http_->perform(
        request,
        [&](const HttpResponseHead&, std::string_view block) {
            body.append(block);
            return true;
        },
        stop);
    if (body.empty()) throw OpenAIError(OpenAIError::Case::emptyData);
    return body;
}

template <typename Result>
Result OpenAI::decodePlain(const HttpRequest& request, std::stop_token stop) const {
    std::string body = performPlain(request, stop);
    try {
        return Result::decode(body);
    } catch (const DecodingError&) {
        if (auto error = APIErrorResponse::tryDecode(body)) throw *error;
        throw;
    }
}

ChatResult OpenAI::chats(const ChatQuery& query, std::stop_token stop) const {
    return decodePlain<ChatResult>(jsonRequest(configuration_.apiPath.chats, "POST", toJson(query)),
                                   stop);
}

EmbeddingsResult OpenAI::embeddings(const EmbeddingsQuery& query, std::stop_token stop) const {
    return decodePlain<EmbeddingsResult>(
        jsonRequest(configuration_.apiPath.embeddings, "POST", toJson(query)), stop);
}

ModelsResult OpenAI::models(std::stop_token stop) const {
    return decodePlain<ModelsResult>(
        jsonRequest(configuration_.apiPath.models, "GET", std::nullopt), stop);
}

AudioTranscriptionResult OpenAI::audioTranscriptions(const AudioTranscriptionQuery& query,
                                                     std::stop_token stop) const {
    HttpRequest request =
        jsonRequest(configuration_.apiPath.audioTranscriptions, "POST", std::nullopt);
    std::string boundary = newBoundary();
    setHeader(request.headers, "Content-Type", "multipart/form-data; boundary=" + boundary);
    request.body = query.multipartBody(boundary);
    return decodePlain<AudioTranscriptionResult>(request, stop);
}

void OpenAI::audioSpeech(const AudioSpeechQuery& query, const std::filesystem::path& outputFile,
                         std::stop_token stop) const {
    HttpRequest request = jsonRequest(configuration_.apiPath.audioSpeech, "POST", toJson(query));
    if (!isValidURL(request.url)) {
        throw HttpTransportError(HttpTransportError::Kind::badURL, "unsupported URL");
    }
    std::filesystem::path temporary = http_->download(request, stop);
    std::filesystem::remove(outputFile);
    std::error_code renameError;
    std::filesystem::rename(temporary, outputFile, renameError);
    if (renameError) {
        // The temporary folder may lie on another file system.
        try {
            std::filesystem::copy_file(temporary, outputFile);
        } catch (...) {
            std::filesystem::remove(temporary);
            throw;
        }
        std::filesystem::remove(temporary);
    }
}

HttpRequest OpenAI::streamRequest(const ChatQuery& query) const {
    ChatQuery streamed = query;
    streamed.stream = true;
    return jsonRequest(configuration_.apiPath.chats, "POST", toJson(streamed));
}

void OpenAI::streamChats(const ChatQuery& query, const OnResult& onResult,
                         std::stop_token stop) const {
    const HttpRequest request = streamRequest(query);
    if (!isValidURL(request.url)) {
        throw HttpTransportError(HttpTransportError::Kind::badURL, "unsupported URL");
    }
    std::exception_ptr failure;
    StreamingSession session(
        [&](const ChatStreamResult& result) {
            if (!failure && !stop.stop_requested()) onResult(result);
        },
        [&](std::exception_ptr error) {
            if (!failure) failure = error;
        });
    try {
        http_->perform(
            request,
            [&](const HttpResponseHead& head, std::string_view block) {
                session.receiveBlock(head, block);
                return !failure;
            },
            stop);
    } catch (const HttpTransportError&) {
        if (!failure) throw;
    }
    if (!failure && !stop.stop_requested()) session.finish();
    if (failure) std::rethrow_exception(failure);
    if (stop.stop_requested()) {
        throw HttpTransportError(HttpTransportError::Kind::cancelled, "cancelled");
    }
}

}  // namespace folvane
