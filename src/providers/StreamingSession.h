#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

#include "platform/HttpClient.h"
#include "providers/ChatStreamResult.h"

namespace folvane {

// Turns the blocks of a streamed chat completion (an event stream of "data: "
// lines) into decoded events. One session serves one transfer; its blocks come
// in order from one thread, so it holds no lock.
//
// The first block is checked for a failure answer: an API error body, a 429
// or another status of 400 and above. Each of those is reported as an
// APIErrorResponse. A line is read once its line feed has come, so a line
// cut between blocks is read whole, and the cost is linear in the size of the
// stream however large one event is; so is a UTF-8 character cut between
// blocks. A data line that decodes as an API error, or an error object on a
// line of its own, is reported as that APIErrorResponse. Bytes that can never
// be UTF-8 are reported as StreamingError unknownContent.
//
// finish() tells how the body ended: an event cut off in the middle, a body
// that held no event at all (a plain answer where a stream was asked) or none
// at all are failures; an end after whole events is a normal one, with or
// without "[DONE]".
class StreamingSession {
  public:
    static constexpr std::string_view streamingCompletionMarker = "[DONE]";
    // A line longer than this fails the stream rather than the memory.
    static constexpr size_t maximumLineSize = size_t(64) << 20;

    using OnReceiveContent = std::function<void(const ChatStreamResult& result)>;
    using OnProcessingError = std::function<void(std::exception_ptr error)>;

    StreamingSession(OnReceiveContent onReceiveContent, OnProcessingError onProcessingError);

    void receiveBlock(const HttpResponseHead& response, std::string_view block);
    // The body has ended without a transfer error.
    void finish();

    bool errorChecked() const { return errorChecked_; }
    // The bytes of the line that has not ended yet.
    std::string partialContent() const { return buffer_.substr(lineStart_); }

  private:
    bool checkFirstBlock(const HttpResponseHead& response, std::string_view text);
    void processLine(std::string_view line);
    void fail(std::exception_ptr error);

    OnReceiveContent onReceiveContent_;
    OnProcessingError onProcessingError_;
    bool errorChecked_ = false;
    bool failed_ = false;
    bool done_ = false;      // "[DONE]" has come: what follows is ignored
    bool sawEvent_ = false;  // a data line has come
    size_t bodySize_ = 0;
    std::string firstBytes_;  // the start of the body, to tell what a body without events was
    std::string buffer_;      // lines not yet read, from lineStart_
    size_t lineStart_ = 0;
    size_t scanned_ = 0;  // where the search for the next line feed goes on
    // The first bytes of a character that the last block cut off.
    std::string pendingBytes_;
};

}  // namespace folvane
