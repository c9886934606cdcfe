#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

#include "providers/ChatStreamResult.h"
#include "providers/OpenAI.h"

namespace folvane {

// A streamed chat completion that is running, read one event at a time by the
// task that started it. The events are produced on the stream's own thread and
// queued here; next() hands them out in order. Destroying the object cancels
// the transfer.
class ChatStream {
  public:
    // Starts the transfer with the two callbacks and returns its handle.
    using Starter = std::function<ChatStreamHandle(OpenAI::OnResult onResult,
                                                   OpenAI::OnCompletion onCompletion)>;

    // keepAlive holds whatever the transfer needs for its life (the client).
    ChatStream(const Starter& start, std::shared_ptr<const void> keepAlive = nullptr);
    // Starts query on the client.
    ChatStream(std::shared_ptr<OpenAI> client, const ChatQuery& query);
    ~ChatStream();
    ChatStream(const ChatStream&) = delete;
    ChatStream& operator=(const ChatStream&) = delete;

    // Waits for the next event. Nothing when the stream has ended normally or
    // a stop was requested on the token; rethrows the error that ended the
    // stream once the events before it have been read.
    std::optional<ChatStreamResult> next(std::stop_token stop = {});

    // Stops the transfer; next() then returns nothing.
    void cancel();

  private:
    struct Channel;
    std::shared_ptr<Channel> channel_;
    ChatStreamHandle handle_;
    std::shared_ptr<const void> keepAlive_;
};

}  // namespace folvane
