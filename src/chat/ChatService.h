#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "providers/ChatStreamResult.h"
#include "store/Conversation.h"
#include "store/CustomModel.h"
#include "store/Message.h"
#include "store/Prompt.h"

namespace folvane {

// The one interface between the view models and everything below them. Store
// calls are synchronous and pass the table models' errors through unchanged.
// The completion stream and speech join this interface with the subsystems
// that provide them; the documents have their own store (DocumentStore).
class ChatService {
  public:
    virtual ~ChatService() = default;

    // Opens a chat on one or more file URLs, or returns to the last chat on a
    // single document when the settings say so.
    virtual Conversation createConversation(const std::vector<std::string>& urls) = 0;

    // Routes the chat to a client and a context length, fits the messages (in
    // time order, the one to answer last) into it and streams the completion
    // on the calling thread: onResult gets each event as it arrives, in order.
    // Called once for each pass. Throws AppChatServiceError (the route,
    // emptyMessage, messageTooLong), then whatever ended the stream (a stop
    // request: HttpTransportError cancelled).
    virtual void chatStream(const std::string& systemInstruction,
                            const std::vector<Message>& messages, const Conversation& conversation,
                            const std::function<void(const ChatStreamResult&)>& onResult,
                            std::stop_token stop) = 0;

    // The context length of the chat's route (the one chatStream fits the
    // history into). Throws AppChatServiceError for a route that fails.
    virtual int contextLength(const Conversation& conversation) = 0;

    // Conversations.
    virtual std::vector<Conversation> getConversations(int64_t afterId) = 0;
    virtual std::optional<Conversation> getConversation(int64_t id) = 0;
    virtual void deleteConversation(int64_t id) = 0;
    virtual Conversation forkConversation(const Conversation& conversation,
                                          int64_t upToMessageId) = 0;
    virtual void updateTitle(int64_t id, const std::string& title) = 0;
    virtual void updateTemperature(int64_t id, double temperature) = 0;
    virtual void updateLanguageCode(int64_t id, const std::string& languageCode) = 0;
    virtual void updateModel(int64_t id, const std::string& model) = 0;
    virtual void updateUseWebSearch(int64_t id, bool useWebSearch) = 0;
    virtual void updateCustomModelId(int64_t id, int64_t customModelId) = 0;
    virtual void updateContextLimit(int64_t id, int contextLimit) = 0;
    virtual void updatePresencePenalty(int64_t id, double penalty) = 0;
    virtual void updateFrequencyPenalty(int64_t id, double penalty) = 0;
    virtual void updateContextSince(int64_t id, Date date) = 0;
    virtual void updateUpdatedAt(int64_t id, Date date) = 0;
    virtual void updateSuggestedQuestions(int64_t id, const std::optional<std::string>& q1,
                                          const std::optional<std::string>& q2,
                                          const std::optional<std::string>& q3) = 0;
    virtual void addCost(int64_t id, double amount) = 0;

    // Messages.
    virtual std::vector<Message> getMessages(int64_t conversationId, int64_t afterId) = 0;
    virtual int64_t insertMessage(const Message& message) = 0;
    virtual std::optional<Message> getMessage(int64_t id) = 0;
    virtual void deleteMessage(int64_t id) = 0;
    virtual void deleteMessagesAfter(int64_t conversationId, int64_t id) = 0;
    // contextSince set and the chat's markers of that name replaced by one new
    // marker (returned), all or nothing.
    virtual Message resetContext(int64_t conversationId, Date since, const std::string& name) = 0;
    // contextSince set and the chat's markers of that name deleted, all or nothing.
    virtual void clearContext(int64_t conversationId, Date since, const std::string& name) = 0;
    virtual void updateMessageContent(int64_t id, const std::string& content) = 0;
    // New content and the later messages deleted, all or nothing.
    virtual void updateMessageContentAndDeleteAfter(int64_t conversationId, int64_t id,
                                                    const std::string& content) = 0;
    virtual void updateSpeechFile(int64_t id, const std::optional<std::string>& url) = 0;

    // The prompt library.
    virtual std::vector<Prompt> getPrompts() = 0;
    virtual std::optional<Prompt> getPrompt(int64_t id) = 0;
    virtual int64_t insertPrompt(const Prompt& prompt) = 0;
    virtual void updatePrompt(int64_t id, const Prompt& prompt) = 0;
    virtual void deletePrompts(const std::vector<int64_t>& ids) = 0;

    // Custom model endpoints.
    virtual std::vector<CustomModel> getCustomModels() = 0;
    virtual std::optional<CustomModel> getCustomModel(int64_t id) = 0;
    virtual int64_t insertCustomModel(const CustomModel& model) = 0;
    virtual void updateCustomModel(
        int64_t id, const std::string& name, const std::string& apiEndpoint,
        const std::string& modelId, int contextLength,
        const std::optional<std::vector<CustomModelHeaderEntry>>& headers, bool useStream) = 0;
    virtual void deleteCustomModel(int64_t id) = 0;
    // Forgets the kept wire clients and custom models after a custom model
    // changes, so that the next request reads them anew.
    virtual void clearClientCaches() = 0;

    // Speech, always through the user's OpenAI account whatever the chat's
    // provider; both block (call them away from the main thread) and throw
    // AppChatServiceError apiKeyMissing without a key, then the wire's errors.
    // The text spoken in a recording ("whisper-1", in sttLanguageCode when set).
    virtual std::string transcribe(const std::filesystem::path& recording) = 0;
    // The text read aloud into a new MP3 file in the data directory
    // ("Speech-<date>.mp3"); returns its path. An error body of the endpoint
    // lands in the file as it is.
    virtual std::filesystem::path generateSpeech(const std::string& text) = 0;
};

}  // namespace folvane
