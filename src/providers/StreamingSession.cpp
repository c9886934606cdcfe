#include "providers/StreamingSession.h"

#include <optional>
#include <vector>

#include "providers/APIErrorResponse.h"
#include "providers/DecodingError.h"
#include "providers/OpenAIError.h"
#include "providers/Utf8.h"

namespace folvane {

namespace {

constexpr std::string_view dataPrefix = "data: ";

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::exception_ptr apiError(std::string message, std::string type, std::string code) {
    return std::make_exception_ptr(
        APIErrorResponse(APIError{std::move(message), std::move(type), "", std::move(code)}));
}

}  // namespace

StreamingSession::StreamingSession(OnReceiveContent onReceiveContent,
                                   OnProcessingError onProcessingError)
    : onReceiveContent_(std::move(onReceiveContent)),
      onProcessingError_(std::move(onProcessingError)) {}

void StreamingSession::receiveBlock(const HttpResponseHead& response, std::string_view block) {
    std::string bytes = pendingBytes_;
    bytes.append(block);
    auto complete = completeUtf8Prefix(bytes);
    if (!complete) {
        pendingBytes_.clear();
        onProcessingError_(
            std::make_exception_ptr(StreamingError(StreamingError::Case::unknownContent)));
        return;
    }
    pendingBytes_ = bytes.substr(*complete);
    bytes.resize(*complete);
    if (bytes.empty()) return;

    if (!errorChecked_ && !checkFirstBlock(response, bytes)) return;
    processText(bytes);
}

bool StreamingSession::checkFirstBlock(const HttpResponseHead& response, const std::string& text) {
    if (auto error = APIErrorResponse::tryDecode(text)) {
        onProcessingError_(std::make_exception_ptr(*error));
        return false;
    }
    if (response.status == 429) {
        auto retryAfter = response.header("retry-after");
        std::string message =
            retryAfter ? "Rate limit exceeded. Please try again after " + *retryAfter + " seconds."
                       : "Rate limit exceeded. Please try again later.";
        onProcessingError_(apiError(message, "rate_limit_error", "429"));
        return false;
    }
    if (response.status >= 400) {
        onProcessingError_(apiError(text, "server_error", std::to_string(response.status)));
        return false;
    }
    errorChecked_ = true;
    return true;
}

void StreamingSession::processText(const std::string& text) {
    // The kept line is glued onto this block and so consumed; a payload that
    // fails at the end of this block keeps itself again below.
    std::string combined = partialContent_ + text;
    partialContent_.clear();

    // An unfinished last line that may still become "data: " is held for the
    // next block rather than dropped as a line of another field.
    std::string held;
    size_t lastBreak = combined.rfind('\n');
    size_t tailStart = lastBreak == std::string::npos ? 0 : lastBreak + 1;
    std::string_view tail = std::string_view(combined).substr(tailStart);
    std::string_view tailText = tail;
    while (!tailText.empty() && isSpace(tailText.front())) tailText.remove_prefix(1);
    if (!tail.empty() && dataPrefix.starts_with(tailText)) {
        held = std::string(tail);
        combined.resize(tailStart);
    }

    std::vector<std::string> payloads;
    // The last line as it came, when no line feed ends it yet.
    std::optional<std::string> unfinishedLastLine;
    size_t start = 0;
    while (start <= combined.size()) {
        size_t end = combined.find('\n', start);
        bool unfinished = end == std::string::npos;
        if (unfinished) end = combined.size();
        std::string_view raw = std::string_view(combined).substr(start, end - start);
        std::string_view line = trim(raw);
        if (line.starts_with(dataPrefix)) {
            payloads.emplace_back(line.substr(dataPrefix.size()));
            if (unfinished) unfinishedLastLine = std::string(raw);
        }
        start = end + 1;
    }

    if (payloads.empty() || payloads.front() == streamingCompletionMarker) {
        partialContent_ = held;
        return;
    }

    for (size_t index = 0; index < payloads.size(); ++index) {
        const std::string& payload = payloads[index];
        if (payload == streamingCompletionMarker) continue;
        bool last = index + 1 == payloads.size() && held.empty();
        std::optional<ChatStreamResult> result;
        std::exception_ptr decodingError;
        try {
            result = ChatStreamResult::decode(payload);
        } catch (const DecodingError&) {
            decodingError = std::current_exception();
        }
        if (result) {
            onReceiveContent_(*result);
        } else if (last) {
            // A cut line is kept as it came, so that white space at the cut
            // survives the glueing.
            partialContent_ =
                unfinishedLastLine ? *unfinishedLastLine : std::string(dataPrefix) + payload;
        } else if (auto error = APIErrorResponse::tryDecode(payload)) {
            onProcessingError_(std::make_exception_ptr(*error));
        } else {
            onProcessingError_(decodingError);
        }
    }
    if (!held.empty()) partialContent_ = held;
}

}  // namespace folvane
