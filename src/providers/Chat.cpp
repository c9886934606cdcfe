#include "providers/Chat.h"

#include "providers/DecodingError.h"

namespace folvane {

using nlohmann::json;
namespace rd = json_read;

std::string rawValue(ChatRole role) {
    switch (role) {
        case ChatRole::system:
            return "system";
        case ChatRole::assistant:
            return "assistant";
        case ChatRole::user:
            return "user";
        case ChatRole::function:
            return "function";
    }
    return "user";
}

ChatRole chatRoleFromRaw(const std::string& raw) {
    for (ChatRole role :
         {ChatRole::system, ChatRole::assistant, ChatRole::user, ChatRole::function}) {
        if (rawValue(role) == raw) return role;
    }
    throw DecodingError(DecodingError::Kind::dataCorrupted,
                        "Cannot initialize Role from invalid String value " + raw);
}

ChatContentItem ChatContentItem::textItem(std::string text) {
    return {"text", std::move(text), std::nullopt};
}

ChatContentItem ChatContentItem::imageItem(std::string url) {
    return {"image_url", std::nullopt, ImageURL{std::move(url)}};
}

std::optional<std::string> Chat::textContent() const {
    if (content && std::holds_alternative<std::string>(*content)) {
        return std::get<std::string>(*content);
    }
    return std::nullopt;
}

json toJson(const ChatFunctionCall& call) {
    json value = json::object();
    if (call.name) value["name"] = *call.name;
    if (call.arguments) value["arguments"] = *call.arguments;
    return value;
}

json toJson(const ChatContentItem& item) {
    json value = {{"type", item.type}};
    if (item.text) value["text"] = *item.text;
    if (item.imageUrl) value["image_url"] = {{"url", item.imageUrl->url}};
    return value;
}

json toJson(const ChatInputContent& content) {
    if (const auto* text = std::get_if<std::string>(&content)) return *text;
    json items = json::array();
    for (const auto& item : std::get<std::vector<ChatContentItem>>(content)) {
        items.push_back(toJson(item));
    }
    return items;
}

json toJson(const Chat& chat) {
    json value = {{"role", rawValue(chat.role)}};
    if (chat.content) {
        value["content"] = toJson(*chat.content);
    } else if (chat.role == ChatRole::assistant && chat.functionCall) {
        value["content"] = nullptr;
    }
    if (chat.name) value["name"] = *chat.name;
    if (chat.functionCall) value["function_call"] = toJson(*chat.functionCall);
    return value;
}

ChatFunctionCall chatFunctionCallFromJson(const json& value) {
    rd::object(value, "function_call");
    return {rd::optionalString(value, "name"), rd::optionalString(value, "arguments")};
}

ChatContentItem chatContentItemFromJson(const json& value) {
    rd::object(value, "content");
    ChatContentItem item;
    item.type = rd::string(rd::required(value, "type"), "type");
    item.text = rd::optionalString(value, "text");
    if (const json* image = rd::optional(value, "image_url")) {
        rd::object(*image, "image_url");
        item.imageUrl = ImageURL{rd::string(rd::required(*image, "url"), "url")};
    }
    return item;
}

ChatInputContent chatInputContentFromJson(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_array()) {
        try {
            std::vector<ChatContentItem> items;
            for (const auto& entry : value) items.push_back(chatContentItemFromJson(entry));
            return items;
        } catch (const DecodingError&) {
        }
    }
    throw DecodingError(DecodingError::Kind::dataCorrupted,
                        "Expected a string or an array of ChatContentItem");
}

Chat chatFromJson(const json& value) {
    rd::object(value, "message");
    Chat chat;
    chat.role = chatRoleFromRaw(rd::string(rd::required(value, "role"), "role"));
    if (const json* content = rd::optional(value, "content")) {
        chat.content = chatInputContentFromJson(*content);
    }
    chat.name = rd::optionalString(value, "name");
    if (const json* call = rd::optional(value, "function_call")) {
        chat.functionCall = chatFunctionCallFromJson(*call);
    }
    return chat;
}

}  // namespace folvane
