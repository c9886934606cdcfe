#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace folvane {

class ChatListViewModel;
class ChatService;

// The one road by which files become a chat: the file panel, a drop on the
// start window, the desktop's open-file entry and the browser all end here.
class FileOpener {
  public:
    FileOpener(ChatService& service, ChatListViewModel& chatList);

    // Makes (or, with continueLastConversation, finds) the chat of these file
    // URLs, adds it to the chat list when the list does not hold it yet, and
    // returns its id; the caller opens its window. Throws the service's error
    // (FileError for a file that cannot be read, AppChatServiceError).
    int64_t openFiles(const std::vector<std::string>& urls);

    // The desktop's open-file entry: only "file" URLs are taken; nothing
    // happens (none) when no such URL is left.
    std::optional<int64_t> openURLs(const std::vector<std::string>& urls);

    // The dropped paths that are PDF files by their extension, each logged.
    static std::vector<std::string> acceptedDrops(const std::vector<std::string>& paths);

  private:
    ChatService& service_;
    ChatListViewModel& chatList_;
};

}  // namespace folvane
