#include "providers/StreamingSession.h"

#include <optional>

#include "providers/APIErrorResponse.h"
#include "providers/DecodingError.h"
#include "providers/OpenAIError.h"
#include "providers/Utf8.h"

namespace folvane {

namespace {

constexpr std::string_view dataPrefix = "data: ";
constexpr size_t firstBytesKept = 64 * 1024;

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

std::exception_ptr streamingError(StreamingError::Case errorCase) {
    return std::make_exception_ptr(StreamingError(errorCase));
}

}  // namespace

StreamingSession::StreamingSession(OnReceiveContent onReceiveContent,
                                   OnProcessingError onProcessingError)
    : onReceiveContent_(std::move(onReceiveContent)),
      onProcessingError_(std::move(onProcessingError)) {}

void StreamingSession::fail(std::exception_ptr error) {
    failed_ = true;
    onProcessingError_(error);
}

void StreamingSession::receiveBlock(const HttpResponseHead& response, std::string_view block) {
    if (failed_ || done_) return;
    std::string bytes = pendingBytes_;
    bytes.append(block);
    auto complete = completeUtf8Prefix(bytes);
    if (!complete) {
        pendingBytes_.clear();
        // Reported, and reading goes on: the caller decides whether to stop.
        onProcessingError_(streamingError(StreamingError::Case::unknownContent));
        return;
    }
    pendingBytes_ = bytes.substr(*complete);
    bytes.resize(*complete);
    if (bytes.empty()) return;

    if (!errorChecked_ && !checkFirstBlock(response, bytes)) return;
    bodySize_ += bytes.size();
    if (firstBytes_.size() < firstBytesKept) {
        firstBytes_.append(bytes, 0, firstBytesKept - firstBytes_.size());
    }

    buffer_.append(bytes);
    for (;;) {
        const size_t end = buffer_.find('\n', scanned_);
        if (end == std::string::npos) break;
        processLine(std::string_view(buffer_).substr(lineStart_, end - lineStart_));
        lineStart_ = end + 1;
        scanned_ = lineStart_;
        if (failed_ || done_) return;
    }
    scanned_ = buffer_.size();
    // Only the unfinished line stays; it is shorter than this block unless
    // the block held no line feed, so each byte is moved at most once.
    if (lineStart_ > 0) {
        buffer_.erase(0, lineStart_);
        scanned_ -= lineStart_;
        lineStart_ = 0;
    }
    if (buffer_.size() > maximumLineSize) fail(streamingError(StreamingError::Case::oversized));
}

bool StreamingSession::checkFirstBlock(const HttpResponseHead& response, std::string_view text) {
    if (auto error = APIErrorResponse::tryDecode(text)) {
        fail(std::make_exception_ptr(*error));
        return false;
    }
    if (response.status == 429) {
        auto retryAfter = response.header("retry-after");
        std::string message =
            retryAfter ? "Rate limit exceeded. Please try again after " + *retryAfter + " seconds."
                       : "Rate limit exceeded. Please try again later.";
        fail(apiError(message, "rate_limit_error", "429"));
        return false;
    }
    if (response.status >= 400) {
        fail(apiError(std::string(text), "server_error", std::to_string(response.status)));
        return false;
    }
    errorChecked_ = true;
    return true;
}

void StreamingSession::processLine(std::string_view raw) {
    const std::string_view line = trim(raw);
    if (!line.starts_with(dataPrefix)) {
        // An error object on a line of its own, as some servers send one
        // in the middle of a stream.
        if (line.starts_with('{')) {
            if (auto error = APIErrorResponse::tryDecode(line)) {
                fail(std::make_exception_ptr(*error));
            }
        }
        return;
    }
    sawEvent_ = true;
    const std::string_view payload = line.substr(dataPrefix.size());
    if (payload == streamingCompletionMarker) {
        done_ = true;
        return;
    }
    try {
        onReceiveContent_(ChatStreamResult::decode(payload));
    } catch (const DecodingError&) {
        if (auto error = APIErrorResponse::tryDecode(payload)) {
            fail(std::make_exception_ptr(*error));
        } else {
            // A line that cannot be read is reported; the caller decides
            // whether the stream goes on.
            onProcessingError_(std::current_exception());
        }
    }
}

void StreamingSession::finish() {
    if (failed_ || done_) return;
    if (!errorChecked_ && bodySize_ == 0 && pendingBytes_.empty()) {
        fail(streamingError(StreamingError::Case::emptyContent));
        return;
    }
    const std::string rest = partialContent();
    if (!trim(rest).empty()) {
        // A last line without its line feed counts when it is whole.
        if (!pendingBytes_.empty()) {
            fail(streamingError(StreamingError::Case::cutOff));
            return;
        }
        const bool wasEvent = sawEvent_;
        bool read = false;
        const std::string_view line = trim(rest);
        if (line.starts_with(dataPrefix)) {
            const std::string_view payload = line.substr(dataPrefix.size());
            try {
                if (payload != streamingCompletionMarker) {
                    onReceiveContent_(ChatStreamResult::decode(payload));
                }
                read = true;
                sawEvent_ = true;
            } catch (const DecodingError&) {
                if (auto error = APIErrorResponse::tryDecode(payload)) {
                    fail(std::make_exception_ptr(*error));
                    return;
                }
            }
        }
        if (!read && (wasEvent || line.starts_with(dataPrefix))) {
            fail(streamingError(StreamingError::Case::cutOff));
            return;
        }
    } else if (!pendingBytes_.empty()) {
        fail(streamingError(StreamingError::Case::cutOff));
        return;
    }
    if (!sawEvent_) {
        if (auto error = APIErrorResponse::tryDecode(firstBytes_)) {
            fail(std::make_exception_ptr(*error));
        } else {
            fail(streamingError(StreamingError::Case::notAStream));
        }
    }
}

}  // namespace folvane
