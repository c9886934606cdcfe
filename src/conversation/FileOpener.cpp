#include "conversation/FileOpener.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "chat/ChatService.h"
#include "conversation/ChatListViewModel.h"
#include "platform/Log.h"

namespace folvane {

namespace {

// The URL's scheme, in lower case: the text before the first ':'.
std::string scheme(const std::string& url) {
    const size_t colon = url.find(':');
    if (colon == std::string::npos) return {};
    std::string text = url.substr(0, colon);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

FileOpener::FileOpener(ChatService& service, ChatListViewModel& chatList)
    : service_(service), chatList_(chatList) {}

int64_t FileOpener::openFiles(const std::vector<std::string>& urls) {
    const Conversation conversation = service_.createConversation(urls);
    if (!chatList_.find(conversation.id)) {
        chatList_.trigger(chat_list_input::AddConversation{conversation});
    }
    return conversation.id;
}

std::optional<int64_t> FileOpener::openURLs(const std::vector<std::string>& urls) {
    std::vector<std::string> files;
    std::copy_if(urls.begin(), urls.end(), std::back_inserter(files),
                 [](const std::string& url) { return scheme(url) == "file"; });
    if (files.empty()) return std::nullopt;
    return openFiles(files);
}

std::vector<std::string> FileOpener::acceptedDrops(const std::vector<std::string>& paths) {
    std::vector<std::string> accepted;
    for (const auto& path : paths) {
        if (std::filesystem::path(path).extension() != ".pdf") continue;
        log("Dropped " + path);
        accepted.push_back(path);
    }
    return accepted;
}

}  // namespace folvane
