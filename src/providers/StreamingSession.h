#pragma once

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
// APIErrorResponse. A payload that will not decode at the end of a block is
// kept and the next block is glued onto it, so a line cut between blocks is
// read whole; so are a line cut before its "data: " prefix is complete and a
// UTF-8 character cut between blocks. Bytes that can never be UTF-8 are
// reported as StreamingError unknownContent.
class StreamingSession {
  public:
    static constexpr std::string_view streamingCompletionMarker = "[DONE]";

    using OnReceiveContent = std::function<void(const ChatStreamResult& result)>;
    using OnProcessingError = std::function<void(std::exception_ptr error)>;

    StreamingSession(OnReceiveContent onReceiveContent, OnProcessingError onProcessingError);

    void receiveBlock(const HttpResponseHead& response, std::string_view block);

    bool errorChecked() const { return errorChecked_; }
    const std::string& partialContent() const { return partialContent_; }

  private:
    bool checkFirstBlock(const HttpResponseHead& response, const std::string& text);
    void processText(const std::string& text);

    OnReceiveContent onReceiveContent_;
    OnProcessingError onProcessingError_;
    bool errorChecked_ = false;
    std::string partialContent_;
    // The first bytes of a character that the last block cut off.
    std::string pendingBytes_;
};

}  // namespace folvane
