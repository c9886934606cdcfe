#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "store/Bookmark.h"
#include "store/Conversation.h"
#include "store/Message.h"
#include "store/Reference.h"

namespace folvane {

// Carries out the function calls of one request, on the request's task: a
// model may ask to read a page of one of the chat's documents. It works on a
// copy of the chat's bookmarks taken when the request started. The call and
// its result are messages for the next pass only, never stored.
class ToolCallHandler {
  public:
    static constexpr const char* getPageContent = "get_page_content";
    static constexpr const char* getSearchResult = "get_search_result";
    static constexpr const char* noContent = "No content found";

    struct Result {
        std::string text;               // what the model reads
        std::vector<Message> messages;  // the call message and the result message
    };

    ToolCallHandler(const Conversation& conversation, std::vector<Bookmark> bookmarks);

    // Throws DecodingError when the arguments of "get_page_content" are not
    // its JSON object. A name the system does not know gets an empty result.
    Result call(const std::string& functionName, const std::string& functionArguments);

    // One reference for each page that was read, in the order of the calls.
    std::vector<Reference> toolReferences() const;

  private:
    std::string readPage(const std::string& arguments);

    int64_t conversationId_;
    std::string model_;
    std::vector<Bookmark> bookmarks_;
    mutable std::mutex mutex_;
    std::vector<Reference> toolReferences_;
};

}  // namespace folvane
