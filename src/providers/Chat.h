#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace folvane {

enum class ChatRole { system, assistant, user, function };

std::string rawValue(ChatRole role);
// Throws DecodingError for any other text.
ChatRole chatRoleFromRaw(const std::string& raw);

struct ChatFunctionCall {
    std::optional<std::string> name;
    std::optional<std::string> arguments;

    bool operator==(const ChatFunctionCall&) const = default;
};

struct ImageURL {
    // A remote URL, or "data:image/jpeg;base64," and the encoded file.
    std::string url;

    bool operator==(const ImageURL&) const = default;
};

// One part of a message whose content is a list: text or an image.
struct ChatContentItem {
    std::string type;
    std::optional<std::string> text;
    std::optional<ImageURL> imageUrl;

    static ChatContentItem textItem(std::string text);
    static ChatContentItem imageItem(std::string url);

    bool operator==(const ChatContentItem&) const = default;
};

// A message's content: a plain string or a list of items.
using ChatInputContent = std::variant<std::string, std::vector<ChatContentItem>>;

// One message of a chat completion.
struct Chat {
    ChatRole role = ChatRole::user;
    std::optional<ChatInputContent> content;
    std::optional<std::string> name;
    std::optional<ChatFunctionCall> functionCall;

    // The text of a string content, or nothing for a list or no content.
    std::optional<std::string> textContent() const;

    bool operator==(const Chat&) const = default;
};

nlohmann::json toJson(const ChatFunctionCall& call);
nlohmann::json toJson(const ChatContentItem& item);
nlohmann::json toJson(const ChatInputContent& content);
nlohmann::json toJson(const Chat& chat);

// Decoders; each throws DecodingError.
ChatFunctionCall chatFunctionCallFromJson(const nlohmann::json& value);
ChatContentItem chatContentItemFromJson(const nlohmann::json& value);
ChatInputContent chatInputContentFromJson(const nlohmann::json& value);
Chat chatFromJson(const nlohmann::json& value);

}  // namespace folvane
