#include "chat/ChatStream.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace folvane {

struct ChatStream::Channel {
    std::mutex mutex;
    std::condition_variable_any changed;
    std::deque<ChatStreamResult> events;
    bool ended = false;
    bool cancelled = false;  // nothing more is taken in or handed out
    std::exception_ptr error;
};

ChatStream::ChatStream(const Starter& start, std::shared_ptr<const void> keepAlive)
    : channel_(std::make_shared<Channel>()), keepAlive_(std::move(keepAlive)) {
    // The callbacks hold the channel, not this object, so a stream that ends
    // after its reader has gone touches nothing freed.
    handle_ = start(
        [channel = channel_](const ChatStreamResult& result) {
            {
                std::lock_guard lock(channel->mutex);
                if (channel->cancelled) return;
                channel->events.push_back(result);
            }
            channel->changed.notify_all();
        },
        [channel = channel_](std::exception_ptr error) {
            {
                std::lock_guard lock(channel->mutex);
                channel->ended = true;
                if (!channel->cancelled) channel->error = error;
            }
            channel->changed.notify_all();
        });
}

ChatStream::ChatStream(std::shared_ptr<OpenAI> client, const ChatQuery& query)
    : ChatStream(
          [&client, &query](OpenAI::OnResult onResult, OpenAI::OnCompletion onCompletion) {
              return client->chatsStream(query, std::move(onResult), std::move(onCompletion));
          },
          client) {}

ChatStream::~ChatStream() {
    handle_.cancel();
}

std::optional<ChatStreamResult> ChatStream::next(std::stop_token stop) {
    std::unique_lock lock(channel_->mutex);
    channel_->changed.wait(lock, stop, [this] {
        return !channel_->events.empty() || channel_->ended || channel_->cancelled;
    });
    if (stop.stop_requested() || channel_->cancelled) return std::nullopt;
    if (!channel_->events.empty()) {
        ChatStreamResult result = std::move(channel_->events.front());
        channel_->events.pop_front();
        return result;
    }
    if (channel_->error) std::rethrow_exception(channel_->error);
    return std::nullopt;
}

void ChatStream::cancel() {
    handle_.cancel();
    {
        std::lock_guard lock(channel_->mutex);
        channel_->events.clear();
        channel_->cancelled = true;
        channel_->error = nullptr;
    }
    channel_->changed.notify_all();
}

}  // namespace folvane
