#include "conversation/TranscriptRows.h"

#include <cctype>
#include <filesystem>

#include "platform/FileUrl.h"

namespace folvane {

namespace {

using json = nlohmann::ordered_json;

bool isLive(const Message& message) {
    return message.id == 0 || message.id == Message::liveMessageId;
}

std::string documentName(const ChatDetailState& state, int64_t bookmarkId) {
    for (const auto& document : state.allDocuments) {
        if (document.bookmark.id != bookmarkId) continue;
        auto path = pathFromFileUrl(document.fileUrl);
        if (!path) path = pathFromFileUrl(document.bookmark.filePath);
        return path ? std::filesystem::path(*path).filename().string() : std::string();
    }
    return {};
}

json referenceButtons(const ChatDetailState& state, const Message& message) {
    json buttons = json::array();
    if (!message.references) return buttons;
    const bool severalDocuments = state.allDocuments.size() > 1;
    for (size_t i = 0; i < message.references->size(); ++i) {
        const auto& reference = (*message.references)[i];
        if (!reference.page) continue;
        std::string tooltip = "Page " + std::to_string(*reference.page);
        if (severalDocuments) {
            if (auto name = documentName(state, reference.bookmarkId); !name.empty())
                tooltip += " \xC2\xB7 " + name;
        }
        buttons.push_back(
            {{"index", i}, {"label", std::to_string(*reference.page)}, {"tooltip", tooltip}});
    }
    return buttons;
}

json action(const char* name, const char* help, const char* title) {
    return {{"action", name}, {"help", help}, {"title", title}};
}

// The hover actions of a stored message, in their order.
json actions(const Message& message) {
    json list = json::array();
    list.push_back(action("copy", "Copy to clipboard", "Copy Message to Clipboard"));
    list.push_back(action("edit", "Edit", "Edit Message"));
    if (message.role != "user")
        list.push_back(action("regenerate", "Regenerate", "Regenerate Response"));
    list.push_back(action("save", "Save Message to File", "Save Message..."));
    list.push_back(action("delete", "Delete", "Delete Message"));
    return list;
}

std::optional<TranscriptRow> messageRow(const ChatDetailState& state, const Message& message,
                                        const TranscriptRows::Options& options) {
    const std::string key = TranscriptRows::keyOf(message);
    if (message.role == "application") {
        if (message.name != "reset-context") return std::nullopt;
        return TranscriptRow{key,
                             {{"kind", "divider"},
                              {"id", message.id},
                              {"text", "Context Cleared"},
                              {"deleteLabel", "Delete"}}};
    }
    if (message.role == "function") return std::nullopt;
    if (message.role == "assistant" && message.content.empty()) {
        if (message.functionName == "get_search_result") {
            const auto query = TranscriptRows::searchQuery(message);
            return TranscriptRow{key,
                                 {{"kind", "search"},
                                  {"text", "Searched Google: "},
                                  {"query", query},
                                  {"button", "View Search Results"},
                                  {"url", TranscriptRows::searchUrl(query)}}};
        }
        if (isLive(message)) return TranscriptRow{key, {{"kind", "waiting"}}};
    }
    json row;
    if (message.role == "user") {
        row = {{"kind", "user"}, {"text", message.content}};
        if (message.contextMode == "quotedContent" && message.stringContext &&
            !message.stringContext->empty())
            row["context"] = *message.stringContext;
        row["images"] = message.imageURLs;
        row["showFull"] = "Show Full Message";
    } else {
        row = {{"kind", "assistant"},
               {"text", message.content},
               {"markdown", options.useMarkdown},
               {"math", options.useLaTeX}};
        if (options.showPageReferences) {
            auto buttons = referenceButtons(state, message);
            if (!buttons.empty()) {
                row["pageLabel"] = "Page:";
                row["references"] = std::move(buttons);
            }
        }
    }
    row["id"] = message.id;
    if (!isLive(message)) row["actions"] = actions(message);
    return TranscriptRow{key, std::move(row)};
}

}  // namespace

std::string TranscriptRows::keyOf(const Message& message) {
    return isLive(message) ? std::string("live") : std::to_string(message.id);
}

std::string TranscriptRows::searchQuery(const Message& message) {
    if (!message.functionArguments) return {};
    auto arguments = nlohmann::json::parse(*message.functionArguments, nullptr, false);
    if (arguments.is_object() && arguments.contains("query") && arguments["query"].is_string())
        return arguments["query"].get<std::string>();
    return {};
}

std::string TranscriptRows::searchUrl(const std::string& query) {
    static const char* hex = "0123456789ABCDEF";
    std::string url = "https://www.google.com/search?q=";
    for (unsigned char c : query) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
            url += static_cast<char>(c);
        } else {
            url += '%';
            url += hex[c >> 4];
            url += hex[c & 15];
        }
    }
    return url;
}

const Message* TranscriptRows::findMessage(const ChatDetailState& state, const std::string& key) {
    if (key == "live") return state.liveMessage ? &*state.liveMessage : nullptr;
    const auto& shown = state.searchKeyword.empty() ? state.messages : state.searchResults;
    for (const auto& message : shown) {
        if (keyOf(message) == key) return &message;
    }
    return nullptr;
}

std::vector<TranscriptRow> TranscriptRows::build(const ChatDetailState& state,
                                                 const Options& options) {
    std::vector<TranscriptRow> rows;
    const bool searchActive = !state.searchKeyword.empty();
    if (searchActive) {
        for (const auto& message : state.searchResults) {
            if (auto row = messageRow(state, message, options)) rows.push_back(std::move(*row));
        }
        if (state.searchResults.empty() && !state.isSearching)
            rows.push_back({"empty", {{"kind", "empty"}, {"text", "No Results"}}});
        return rows;
    }

    const Message* last = nullptr;
    for (const auto& message : state.messages) {
        if (auto row = messageRow(state, message, options)) {
            rows.push_back(std::move(*row));
            last = &message;
        }
    }
    if (state.liveMessage) {
        if (auto row = messageRow(state, *state.liveMessage, options)) {
            rows.push_back(std::move(*row));
            last = &*state.liveMessage;
        }
    }
    if (state.messages.empty() && !state.liveMessage) {
        if (state.loaded) rows.push_back({"empty", {{"kind", "empty"}, {"text", "No Messages"}}});
        return rows;
    }

    switch (state.assistantState) {
        case AssistantState::failed: {
            const std::string text =
                state.lastError && !state.lastError->empty() ? *state.lastError : fallbackError;
            rows.push_back({"status", {{"kind", "error"}, {"text", text}}});
            break;
        }
        case AssistantState::idle:
            if (last && last->role == "assistant" && !isLive(*last)) {
                json row = {{"kind", "regenerate"}, {"regenerate", "Regenerate response"}};
                if (state.lastFinishReason == "length") row["continue"] = "Continue generating";
                rows.push_back({"status", std::move(row)});
            }
            break;
        default:
            rows.push_back(
                {"status", {{"kind", "status"}, {"text", statusWords(state.assistantState)}}});
            break;
    }
    return rows;
}

}  // namespace folvane
