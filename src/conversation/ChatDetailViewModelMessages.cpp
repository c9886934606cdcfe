// The send flow of ChatDetailViewModel on the main thread: accepting a send,
// the operations that send again, the message operations of the flow, and the
// last step of a request.

#include <algorithm>

#include "chat/AppChatServiceError.h"
#include "chat/ChatService.h"
#include "chat/CompletionStream.h"
#include "conversation/ChatDetailViewModel.h"
#include "runtime/MainQueue.h"
#include "conversation/MessageRequest.h"
#include "documents/Redaction.h"
#include "platform/Log.h"
#include "providers/GPTEncoder.h"
#include "providers/TokenHelper.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

constexpr const char* resetContextMarker = "reset-context";
constexpr const char* visionModel = "gpt-4-vision-preview";

bool isMarker(const Message& message) {
    return message.role == "application" && message.name == resetContextMarker;
}

}  // namespace

// The state writes of one request's completion passes. They come inside blocks
// that the stream posted to the main queue; once a newer send has replaced the
// request they change nothing.
class RequestSink final : public CompletionSink {
  public:
    RequestSink(ChatDetailViewModel& viewModel, std::weak_ptr<ChatDetailViewModel*> alive,
                uint64_t generation)
        : viewModel_(viewModel), alive_(std::move(alive)), generation_(generation) {}

    AssistantState assistantState() const override {
        return current() ? viewModel_.state().assistantState : AssistantState::idle;
    }
    bool hasLiveMessage() const override {
        return current() && viewModel_.state().liveMessage.has_value();
    }
    void setAssistantState(AssistantState state) override {
        change([state](ChatDetailState& s) { s.assistantState = state; });
    }
    void setLiveContent(const std::string& content) override {
        change([&content](ChatDetailState& s) {
            if (s.liveMessage) s.liveMessage->content = content;
        });
    }
    void setLastFinishReason(const std::string& reason) override {
        change([&reason](ChatDetailState& s) { s.lastFinishReason = reason; });
    }
    void setLastError(const std::string& words) override {
        change([&words](ChatDetailState& s) { s.lastError = words; });
    }

  private:
    bool current() const {
        return !alive_.expired() && viewModel_.requestGeneration_ == generation_;
    }
    template <typename Change>
    void change(Change&& edit) {
        if (current()) viewModel_.updateState(std::forward<Change>(edit));
    }

    ChatDetailViewModel& viewModel_;
    std::weak_ptr<ChatDetailViewModel*> alive_;
    uint64_t generation_;
};

void ChatDetailViewModel::sendMessage(std::string content, bool shouldSave,
                                      ChatContextMode contextMode, std::string stringContext) {
    if (request_) cancelRequest();
    pruneFinishedRequests();
    content = redactSensitiveContent(content, redactionOptions(services_.preferences));

    const bool withImages = !state().imageURLs.empty() && contextMode == ChatContextMode::images;
    Message message;
    message.conversationId = conversation_.id;
    message.role = "user";
    message.content = content;
    message.model = withImages ? visionModel : conversation_.model;
    message.contextMode = std::string(rawValue(contextMode));
    message.stringContext = stringContext;
    if (withImages) message.imageURLs = state().imageURLs;

    std::vector<Message> messages = state().messages;
    if (shouldSave) {
        try {
            const int64_t id = services_.chatService.insertMessage(message);
            auto stored = services_.chatService.getMessage(id);
            if (!stored) throw AppChatServiceError(AppChatServiceError::Case::insertionFailed);
            messages.push_back(*stored);
            conversation_.messageCount = static_cast<int>(messages.size());
            updateState([&](ChatDetailState& s) {
                s.messages.push_back(*stored);
                s.conversation.messageCount = static_cast<int>(s.messages.size());
            });
        } catch (const std::exception& error) {
            updateState([&](ChatDetailState& s) {
                s.lastError = errorText(error);
                s.assistantState = AssistantState::idle;
                s.liveMessage.reset();
            });
            return;
        }
    }

    const uint64_t generation = ++requestGeneration_;
    updateState([&](ChatDetailState& s) {
        s.assistantState = AssistantState::thinking;
        s.lastError.reset();
        s.imageURLs.clear();
        Message live;
        live.id = Message::liveMessageId;
        live.conversationId = conversation_.id;
        live.role = "assistant";
        live.model = conversation_.model;
        s.liveMessage = std::move(live);
    });

    RequestSetup setup;
    setup.conversation = conversation_;
    setup.messages = std::move(messages);
    setup.content = std::move(content);
    setup.contextMode = contextMode;
    setup.stringContext = std::move(stringContext);
    setup.userInstruction = services_.preferences.userInstruction();
    setup.appendUserInstruction = services_.preferences.appendUserInstructionToUserMessage();
    setup.requestModel = message.model;
    setup.provider = state().customModel ? state().customModel->provider : "OpenAI";
    if (indexer_) {
        setup.bookmarks = indexer_->bookmarks();
        setup.indexes = indexer_->indexes();
    }
    setup.redaction = redactionOptions(services_.preferences);

    MessageRequest::Hooks hooks;
    std::weak_ptr<ChatDetailViewModel*> alive = alive_;
    MainQueue& mainQueue = services_.mainQueue;
    hooks.change = [alive, generation, &mainQueue](std::function<void(ChatDetailState&)> change) {
        mainQueue.post([alive, generation, change = std::move(change)] {
            auto self = alive.lock();
            if (self && (*self)->requestGeneration_ == generation) (*self)->updateState(change);
        });
    };
    hooks.finish = [alive, generation, &mainQueue](RequestOutcome outcome) {
        mainQueue.post([alive, generation, outcome] {
            if (auto self = alive.lock()) (*self)->finishRequest(generation, outcome);
        });
    };
    hooks.sink = std::make_shared<RequestSink>(*this, alive_, generation);

    auto task = std::make_shared<RequestTask>();
    auto body = std::make_shared<MessageRequest>(std::move(setup), services_.chatService,
                                                 services_.mainQueue, services_.encoder,
                                                 services_.localEmbedder, std::move(hooks));
    task->thread = std::jthread([body, done = task.get()](std::stop_token stop) {
        body->run(stop);
        done->finished = true;
    });
    request_ = std::move(task);
}

void ChatDetailViewModel::finishRequest(uint64_t generation, const RequestOutcome& outcome) {
    // A request that a newer send replaced leaves the newer one's reply alone.
    if (requestGeneration_ != generation) return;
    const auto live = state().liveMessage;
    if (!live) return;
    if (!live->content.empty()) {
        try {
            Message reply = *live;
            reply.id = 0;
            const int64_t id = services_.chatService.insertMessage(reply);
            auto stored = services_.chatService.getMessage(id);
            if (!stored) throw AppChatServiceError(AppChatServiceError::Case::insertionFailed);
            updateState([&](ChatDetailState& s) { s.messages.push_back(*stored); });
            const double cost =
                outcome.promptCost + static_cast<double>(services_.encoder.count(stored->content)) *
                                         tokenPrice(stored->model, stored->role);
            conversation_.cost += cost;
            updateState([&](ChatDetailState& s) { s.conversation.cost += cost; });
            services_.chatService.addCost(conversation_.id, cost);
        } catch (const std::exception& error) {
            log(std::string("Cannot store the reply: ") + error.what());
        }
    }
    updateState([](ChatDetailState& s) { s.liveMessage.reset(); });
}

void ChatDetailViewModel::cancelRequest() {
    if (!request_) return;
    request_->thread.request_stop();
    replacedRequests_.push_back(std::move(request_));
}

void ChatDetailViewModel::pruneFinishedRequests() {
    std::erase_if(replacedRequests_,
                  [](const std::shared_ptr<RequestTask>& task) { return task->finished.load(); });
}

bool ChatDetailViewModel::isRequestRunning() const {
    if (request_ && !request_->finished) return true;
    return std::any_of(replacedRequests_.begin(), replacedRequests_.end(),
                       [](const auto& task) { return !task->finished.load(); });
}

void ChatDetailViewModel::waitForRequests() {
    if (request_ && request_->thread.joinable()) request_->thread.join();
    for (auto& task : replacedRequests_) {
        if (task->thread.joinable()) task->thread.join();
    }
}

void ChatDetailViewModel::regenerate() {
    const auto& messages = state().messages;
    if (messages.empty()) return;
    const auto user = std::find_if(messages.rbegin(), messages.rend(),
                                   [](const Message& m) { return m.role == "user"; });
    if (user == messages.rend()) return;
    const Message question = *user;
    const ChatContextMode mode =
        chatContextModeFromRaw(question.contextMode.value_or("")).value_or(ChatContextMode::all);
    if (question.id != messages.back().id) {
        try {
            services_.chatService.deleteMessagesAfter(conversation_.id, question.id);
        } catch (const std::exception& error) {
            updateState([&](ChatDetailState& s) {
                s.lastError = errorText(error);
                s.assistantState = AssistantState::idle;
                s.liveMessage.reset();
            });
            return;
        }
        updateState([&](ChatDetailState& s) {
            std::erase_if(s.messages, [&](const Message& m) { return m.id > question.id; });
        });
    }
    sendMessage(question.content, false, mode, question.stringContext.value_or(""));
}

void ChatDetailViewModel::continueGenerating() {
    if (state().messages.empty()) return;
    sendMessage("", false, ChatContextMode::all, "");
}

void ChatDetailViewModel::updateMessageContent(int64_t id, const std::string& content,
                                               bool resend) {
    try {
        services_.chatService.updateMessageContent(id, content);
    } catch (const std::exception& error) {
        log(std::string("Cannot store the message's text: ") + error.what());
    }
    const auto& messages = state().messages;
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [id](const Message& m) { return m.id == id; });
    if (found == messages.end()) return;
    const std::string role = found->role;
    updateState([&](ChatDetailState& s) {
        for (auto& m : s.messages) {
            if (m.id == id) m.content = content;
        }
    });
    if (!resend || role != "user") return;
    try {
        services_.chatService.deleteMessagesAfter(conversation_.id, id);
    } catch (const std::exception& error) {
        log(std::string("Cannot delete the later messages: ") + error.what());
        return;
    }
    updateState([&](ChatDetailState& s) {
        std::erase_if(s.messages, [id](const Message& m) { return m.id > id; });
    });
    sendMessage(content, false, ChatContextMode::all, "");
}

void ChatDetailViewModel::resetContext() {
    const Date since = now();
    try {
        services_.chatService.updateContextSince(conversation_.id, since);
    } catch (const std::exception& error) {
        log(std::string("Cannot reset the context: ") + error.what());
        return;
    }
    updateConversation([&](Conversation& c) { c.contextSince = since; });
    try {
        services_.chatService.deleteMarkers(conversation_.id, resetContextMarker);
        updateState([](ChatDetailState& s) { std::erase_if(s.messages, isMarker); });
        Message marker = services_.chatService.insertMarker(conversation_.id, resetContextMarker);
        updateState([&](ChatDetailState& s) { s.messages.push_back(std::move(marker)); });
    } catch (const std::exception& error) {
        log(std::string("Cannot place the context marker: ") + error.what());
    }
}

void ChatDetailViewModel::clearContextMarkers() {
    const Date since = distantPast();
    try {
        services_.chatService.updateContextSince(conversation_.id, since);
    } catch (const std::exception& error) {
        log(std::string("Cannot clear the context: ") + error.what());
        return;
    }
    updateConversation([&](Conversation& c) { c.contextSince = since; });
    try {
        services_.chatService.deleteMarkers(conversation_.id, resetContextMarker);
        updateState([](ChatDetailState& s) { std::erase_if(s.messages, isMarker); });
    } catch (const std::exception& error) {
        log(std::string("Cannot delete the context markers: ") + error.what());
    }
}

void ChatDetailViewModel::deleteAllMessages() {
    try {
        services_.chatService.deleteMessagesAfter(conversation_.id, 0);
    } catch (const std::exception& error) {
        log(std::string("Cannot delete the messages: ") + error.what());
        return;
    }
    conversation_.messageCount = 0;
    conversation_.latestMessage.reset();
    updateState([](ChatDetailState& s) {
        s.messages.clear();
        s.conversation.messageCount = 0;
        s.conversation.latestMessage.reset();
    });
}

}  // namespace folvane
