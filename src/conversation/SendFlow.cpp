#include "conversation/SendFlow.h"

#include <algorithm>

#include "chat/AppChatServiceError.h"
#include "chat/ChatService.h"
#include "chat/CompletionStream.h"
#include "conversation/ChatDetailViewModel.h"
#include "conversation/MessageRequest.h"
#include "conversation/RequestSink.h"
#include "documents/Redaction.h"
#include "platform/Log.h"
#include "providers/GPTEncoder.h"
#include "providers/ModelNames.h"
#include "providers/TokenHelper.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

constexpr const char* resetContextMarker = "reset-context";

bool isMarker(const Message& message) {
    return message.role == "application" && message.name == resetContextMarker;
}

}  // namespace

SendFlow::SendFlow(ChatDetailViewModel& chat, const ChatDetailServices& services)
    : chat_(chat), services_(services), alive_(std::make_shared<SendFlow*>(this)) {}

SendFlow::~SendFlow() {
    alive_.reset();
    if (request_) replacedRequests_.push_back(std::move(request_));
    for (auto& task : replacedRequests_) task->thread.request_stop();
    replacedRequests_.clear();  // each thread is joined as it goes
}

void SendFlow::update(const std::function<void(ChatDetailState&)>& change) {
    chat_.updateState(change);
}

Message SendFlow::storeMessage(const Message& message) {
    const int64_t id = services_.chatService.insertMessage(message);
    auto stored = services_.chatService.getMessage(id);
    if (!stored) throw AppChatServiceError(AppChatServiceError::Case::insertionFailed);
    return *stored;
}

void SendFlow::refuse(const std::exception& error) {
    update([&](ChatDetailState& s) {
        s.lastError = errorText(error);
        s.assistantState = AssistantState::idle;
        s.liveMessage.reset();
    });
}

void SendFlow::sendMessage(std::string content, bool shouldSave, ChatContextMode contextMode,
                           std::string stringContext) {
    if (shouldSave && content.find_first_not_of(" \t\r\n") == std::string::npos) {
        refuse(AppChatServiceError(AppChatServiceError::Case::emptyMessage));
        return;
    }
    if (request_) cancelRequest();
    pruneFinishedRequests();
    content = redactSensitiveContent(content, redactionOptions(services_.preferences));

    const ChatDetailState& state = chat_.state();
    const Conversation& conversation = chat_.conversation_;
    const bool withImages = !state.imageURLs.empty() && contextMode == ChatContextMode::images;
    Message message;
    message.conversationId = conversation.id;
    message.role = "user";
    message.content = content;
    message.model = withImages ? std::string(visionModel) : conversation.model;
    message.contextMode = std::string(rawValue(contextMode));
    message.stringContext = stringContext;
    if (withImages) message.imageURLs = state.imageURLs;

    std::vector<Message> messages = state.messages;
    if (shouldSave) {
        try {
            const Message stored = storeMessage(message);
            messages.push_back(stored);
            chat_.conversation_.messageCount = static_cast<int>(messages.size());
            update([&](ChatDetailState& s) {
                s.messages.push_back(stored);
                s.conversation.messageCount = static_cast<int>(s.messages.size());
            });
        } catch (const std::exception& error) {
            refuse(error);
            return;
        }
    }

    if (!messages.empty()) answered_ = messages.back();
    const uint64_t generation = ++requestGeneration_;
    update([&](ChatDetailState& s) {
        s.assistantState = AssistantState::thinking;
        s.lastError.reset();
        s.imageURLs.clear();
        Message live;
        live.id = Message::liveMessageId;
        live.conversationId = conversation.id;
        live.role = "assistant";
        live.model = conversation.model;
        s.liveMessage = std::move(live);
    });

    RequestSetup setup;
    setup.conversation = conversation;
    setup.messages = std::move(messages);
    setup.content = std::move(content);
    setup.contextMode = contextMode;
    setup.stringContext = std::move(stringContext);
    setup.userInstruction = services_.preferences.userInstruction();
    setup.appendUserInstruction = services_.preferences.appendUserInstructionToUserMessage();
    setup.requestModel = message.model;
    if (ChatIndexer* indexer = chat_.indexer()) {
        setup.bookmarks = indexer->bookmarks();
        setup.indexes = indexer->indexes();
    }
    setup.redaction = redactionOptions(services_.preferences);

    auto task = std::make_shared<RequestTask>();
    auto body = std::make_shared<MessageRequest>(
        std::move(setup), services_.chatService, services_.encoder, services_.localEmbedder,
        std::make_shared<RequestSink>(alive_, generation, services_.mainQueue));
    task->thread = std::jthread([body, done = task.get()](std::stop_token stop) {
        body->run(stop);
        done->finished = true;
    });
    request_ = std::move(task);
}

void SendFlow::finishRequest(const RequestSink::Outcome& outcome) {
    const auto live = chat_.state().liveMessage;
    if (!live) return;
    update([](ChatDetailState& s) { s.liveMessage.reset(); });
    if (live->content.empty()) return;
    try {
        storeReply(*live, outcome);
    } catch (const std::exception& error) {
        chat_.showError(error);
    }
}

void SendFlow::storeReply(const Message& live, const RequestSink::Outcome& outcome) {
    // The reply goes only into the chat it was asked in: a chat removed while
    // the answer came, and a newer one that took its id, get nothing. The
    // message answered goes with its chat, so it tells them apart also
    // within the second that dates them.
    const Conversation& asked = chat_.conversation_;
    const auto current = services_.chatService.getConversation(asked.id);
    const auto answered = services_.chatService.getMessage(answered_.id);
    if (!current || current->createdAt != asked.createdAt || !answered ||
        answered->conversationId != asked.id || answered->createdAt != answered_.createdAt) {
        throw AppChatServiceError(AppChatServiceError::Case::conversationGone);
    }
    Message reply = live;
    reply.id = 0;
    const Message stored = storeMessage(reply);
    update([&](ChatDetailState& s) { s.messages.push_back(stored); });
    const double cost =
        outcome.promptCost + static_cast<double>(services_.encoder.count(stored.content)) *
                                 tokenPrice(stored.model, stored.role);
    services_.chatService.addCost(asked.id, cost);
    chat_.conversation_.cost += cost;
    update([&](ChatDetailState& s) { s.conversation.cost += cost; });
}

void SendFlow::cancelRequest() {
    if (!request_) return;
    request_->thread.request_stop();
    replacedRequests_.push_back(std::move(request_));
}

void SendFlow::pruneFinishedRequests() {
    std::erase_if(replacedRequests_,
                  [](const std::shared_ptr<RequestTask>& task) { return task->finished.load(); });
}

bool SendFlow::isRequestRunning() const {
    if (request_ && !request_->finished) return true;
    return std::any_of(replacedRequests_.begin(), replacedRequests_.end(),
                       [](const auto& task) { return !task->finished.load(); });
}

void SendFlow::waitForRequests() {
    if (request_ && request_->thread.joinable()) request_->thread.join();
    for (auto& task : replacedRequests_) {
        if (task->thread.joinable()) task->thread.join();
    }
}

void SendFlow::regenerate() {
    const auto& messages = chat_.state().messages;
    if (messages.empty()) return;
    const auto user = std::find_if(messages.rbegin(), messages.rend(),
                                   [](const Message& m) { return m.role == "user"; });
    if (user == messages.rend()) return;
    const Message question = *user;
    const ChatContextMode mode =
        chatContextModeFromRaw(question.contextMode.value_or("")).value_or(ChatContextMode::all);
    if (question.id != messages.back().id) {
        try {
            services_.chatService.deleteMessagesAfter(chat_.conversation_.id, question.id);
        } catch (const std::exception& error) {
            refuse(error);
            return;
        }
        update([&](ChatDetailState& s) {
            std::erase_if(s.messages, [&](const Message& m) { return m.id > question.id; });
        });
    }
    sendMessage(question.content, false, mode, question.stringContext.value_or(""));
}

void SendFlow::continueGenerating() {
    if (chat_.state().messages.empty()) return;
    sendMessage("", false, ChatContextMode::all, "");
}

void SendFlow::updateMessageContent(int64_t id, const std::string& content, bool resend) {
    const auto& messages = chat_.state().messages;
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [id](const Message& m) { return m.id == id; });
    const bool sendAgain = resend && found != messages.end() && found->role == "user";
    // The new text and the answers it replaces change together or not at all.
    if (sendAgain) {
        services_.chatService.updateMessageContentAndDeleteAfter(chat_.conversation_.id, id,
                                                                 content);
    } else {
        services_.chatService.updateMessageContent(id, content);
    }
    update([&](ChatDetailState& s) {
        for (auto& m : s.messages) {
            if (m.id == id) m.content = content;
        }
        if (sendAgain) std::erase_if(s.messages, [id](const Message& m) { return m.id > id; });
    });
    if (sendAgain) sendMessage(content, false, ChatContextMode::all, "");
}

void SendFlow::showContextSince(Date since) {
    chat_.updateConversation([&](Conversation& c) { c.contextSince = since; });
}

void SendFlow::resetContext() {
    const Date since = now();
    Message marker =
        services_.chatService.resetContext(chat_.conversation_.id, since, resetContextMarker);
    showContextSince(since);
    update([&](ChatDetailState& s) {
        std::erase_if(s.messages, isMarker);
        s.messages.push_back(std::move(marker));
    });
}

void SendFlow::clearContextMarkers() {
    services_.chatService.clearContext(chat_.conversation_.id, distantPast(), resetContextMarker);
    showContextSince(distantPast());
    update([](ChatDetailState& s) { std::erase_if(s.messages, isMarker); });
}

void SendFlow::deleteAllMessages() {
    services_.chatService.deleteMessagesAfter(chat_.conversation_.id, 0);
    chat_.conversation_.messageCount = 0;
    chat_.conversation_.latestMessage.reset();
    update([](ChatDetailState& s) {
        s.messages.clear();
        s.conversation.messageCount = 0;
        s.conversation.latestMessage.reset();
    });
}

}  // namespace folvane
