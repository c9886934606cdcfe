#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "conversation/ChatContextMode.h"
#include "conversation/ChatDetailState.h"
#include "documents/ChatIndexer.h"
#include "documents/Redaction.h"
#include "store/Bookmark.h"
#include "store/Conversation.h"
#include "store/Message.h"

namespace folvane {

class ChatService;
class GPTEncoder;
class RequestSink;

// What a request starts from, taken on the main thread when a send is accepted.
struct RequestSetup {
    Conversation conversation;
    std::vector<Message> messages;  // the chat as it stood, the message to answer last
    std::string content;            // the question, redacted: the retrieval query
    ChatContextMode contextMode = ChatContextMode::all;
    std::string stringContext;
    std::string userInstruction;
    bool appendUserInstruction = false;
    std::string requestModel;  // the model of the user's message
    std::vector<Bookmark> bookmarks;
    ChatIndexes indexes;
    RedactionOptions redaction;
};

// The background half of one send: builds the instruction and the history for
// the chat's context mode, runs the completion passes, and works out the
// references of the reply. Every change of the chat's state goes out through
// its RequestSink.
class MessageRequest {
  public:
    static constexpr const char* noRelevantContent =
        "No relevant content found. Make sure all your documents have been indexed and try "
        "again.";
    static constexpr const char* imageInstruction =
        "You have access to an image from a PDF document. Answer user's question based on the "
        "content of that image.";
    static constexpr int retrievalCount = 5;

    MessageRequest(RequestSetup setup, ChatService& service, const GPTEncoder& encoder,
                   std::function<std::shared_ptr<EmbeddingsProtocol>()> localEmbedder,
                   std::shared_ptr<RequestSink> sink);

    // Runs the request to its end on the calling thread; never throws.
    void run(std::stop_token stop);

    // The page numbers behind the separator: "Page:" taken out, split at
    // commas, each piece reduced to its digits (a piece without any stays as
    // an empty string).
    static std::vector<std::string> pagesFromPageLine(std::string pageLine);
    // The references whose page, as decimal text, is among the pages, in order.
    static std::vector<Reference> referencesOnPages(const std::vector<Reference>& references,
                                                    const std::vector<std::string>& pages);
    // The user's standing instruction applied to the instruction or to the
    // message that is answered, as the setting says.
    static void applyUserInstruction(const std::string& userInstruction, bool appendToMessage,
                                     std::string& systemInstruction, Message& lastMessage);

  private:
    // False when the request ended before the model was called.
    bool buildContext(std::string& systemInstruction, std::vector<Message>& history);
    std::vector<Reference> replyReferences(const std::string& answer, const std::string& pageLine,
                                           const std::vector<Reference>& toolReferences);
    double promptCost(const std::string& systemInstruction) const;

    RequestSetup setup_;
    ChatService& service_;
    const GPTEncoder& encoder_;
    std::function<std::shared_ptr<EmbeddingsProtocol>()> localEmbedder_;
    std::shared_ptr<RequestSink> sink_;
    std::vector<Reference> references_;
    std::vector<SearchResult> candidates_;
};

}  // namespace folvane
