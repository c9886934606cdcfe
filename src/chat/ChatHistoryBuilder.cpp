#include "chat/ChatHistoryBuilder.h"

#include <algorithm>
#include <deque>

#include "chat/AppChatServiceError.h"
#include "chat/Language.h"
#include "platform/FileUrl.h"
#include "platform/ImageDataUrl.h"
#include "platform/ImageError.h"
#include "platform/Log.h"
#include "providers/GPTEncoder.h"

namespace folvane {

namespace {

bool hasItemList(const Chat& chat) {
    return chat.content && std::holds_alternative<std::vector<ChatContentItem>>(*chat.content);
}

ChatRole roleOf(const std::string& role) {
    if (role == "function") return ChatRole::function;
    if (role == "assistant") return ChatRole::assistant;
    return ChatRole::user;  // a marker row goes out as an empty user message
}

}  // namespace

Chat ChatHistoryBuilder::toChat(const Message& message) {
    const ChatRole role = roleOf(message.role);
    if (role == ChatRole::assistant && message.functionName && message.functionArguments) {
        try {
            const nlohmann::json call = {{"name", *message.functionName},
                                         {"arguments", *message.functionArguments}};
            return Chat{ChatRole::assistant, ChatInputContent(std::string()), message.name,
                        chatFunctionCallFromJson(call)};
        } catch (const std::exception& error) {
            log(std::string("Failed to decode ChatFunctionCall: ") + error.what());
        }
    }
    if (message.imageURLs.empty()) {
        return Chat{role, ChatInputContent(message.content), message.name, std::nullopt};
    }
    std::vector<ChatContentItem> items{ChatContentItem::textItem(message.content)};
    for (const auto& url : message.imageURLs) {
        if (const auto path = pathFromFileUrl(url)) {
            try {
                items.push_back(ChatContentItem::imageItem(jpegDataUrl(*path)));
            } catch (const ImageError& error) {
                // The picture was read when it was attached; one that has
                // gone or changed since is left out, and the question still
                // goes with the pictures that remain.
                log(error.what());
            }
        } else if (url.find("://") != std::string::npos) {
            items.push_back(ChatContentItem::imageItem(url));
        }
    }
    return Chat{role, ChatInputContent(std::move(items)), message.name, std::nullopt};
}

size_t ChatHistoryBuilder::tokenLength(const std::vector<Chat>& chats) const {
    std::string text;
    for (const auto& chat : chats) {
        if (auto content = chat.textContent()) text += *content;
        if (chat.functionCall) {
            text += chat.functionCall->name.value_or("");
            text += chat.functionCall->arguments.value_or("");
        }
    }
    return encoder_.count(text);
}

std::vector<Chat> ChatHistoryBuilder::buildChats(std::string systemInstruction,
                                                 const std::vector<Message>& messages,
                                                 const Conversation& conversation,
                                                 int contextLength) const {
    if (messages.empty()) throw AppChatServiceError(AppChatServiceError::Case::emptyMessage);
    log("messageHistory count " + std::to_string(messages.size()));

    if (const auto* language = Language::find(conversation.languageCode)) {
        systemInstruction += ". Always answer in ";
        systemInstruction += language->label;
    }
    const Chat system{ChatRole::system, ChatInputContent(std::move(systemInstruction)),
                      std::nullopt, std::nullopt};

    std::deque<Chat> history;
    for (const auto& message : messages) history.push_back(toChat(message));
    const Chat last = std::move(history.back());
    history.pop_back();
    if (!hasItemList(last)) std::erase_if(history, hasItemList);

    const size_t essential = tokenLength({system, last});
    log("tokenLengthForMessage " + std::to_string(essential));
    log("tokenLengthLimit " + std::to_string(contextLength));
    if (contextLength < 0 || size_t(contextLength) < essential) {
        throw AppChatServiceError(AppChatServiceError::Case::messageTooLong);
    }

    const int limit = conversation.contextLimit;
    if (limit >= 1 && size_t(limit) < history.size()) {
        history.erase(history.begin(), history.end() - limit);
    }

    // Drop the oldest message until everything fits; with no history left the
    // two essential messages fit, as checked above.
    for (;;) {
        std::vector<Chat> chats{system};
        chats.insert(chats.end(), history.begin(), history.end());
        chats.push_back(last);
        if (history.empty() || tokenLength(chats) <= size_t(contextLength)) {
            log("final messages count " + std::to_string(chats.size()));
            return chats;
        }
        history.pop_front();
    }
}

}  // namespace folvane
