#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbedderFactory.h"
#include "chat/ChatService.h"
#include "store/ConversationTable.h"
#include "store/CustomModelHelper.h"
#include "store/CustomModelSecrets.h"
#include "store/DocumentStore.h"
#include "store/MessageTable.h"
#include "store/PromptTable.h"
#include "store/SqliteConnection.h"

namespace folvane {

class AppPreferences;
struct AppPaths;
class ClientRouter;
class GPTEncoder;
class HttpClient;
class PdfPageCounter;

// The chat service: a thin owner of the connection and the table models. The
// wire clients, the token counter and the embedders are added to it by the
// subsystems that provide them.
class AppChatService final : public ChatService {
  public:
    // The start of the service: opens the database through AppDatabase. A
    // store the program cannot run without throws FatalError with the message
    // the user is shown. Every wire client and the remote embedder share http
    // (a curl client when none is given).
    static std::unique_ptr<AppChatService> start(const AppPaths& paths, AppPreferences& preferences,
                                                 const PdfPageCounter& pageCounter,
                                                 std::shared_ptr<HttpClient> http = nullptr);

    // Takes an open, migrated connection. The chat requests go through one
    // CurlHttpClient and count tokens with an encoder read on first use from
    // the resource folder given by start() (none: every text counts 0 tokens).
    AppChatService(std::shared_ptr<SqliteConnection> db, AppPreferences& preferences);
    // The same with the HTTP client that every wire client of the service
    // shares, and the token counter.
    AppChatService(std::shared_ptr<SqliteConnection> db, AppPreferences& preferences,
                   std::shared_ptr<HttpClient> http, std::shared_ptr<const GPTEncoder> encoder);
    ~AppChatService() override;

    void chatStream(const std::string& systemInstruction, const std::vector<Message>& messages,
                    const Conversation& conversation,
                    const std::function<void(const ChatStreamResult&)>& onResult,
                    std::stop_token stop) override;
    int contextLength(const Conversation& conversation) override;

    Conversation createConversation(const std::vector<std::string>& urls) override;

    std::vector<Conversation> getConversations(int64_t afterId) override;
    std::optional<Conversation> getConversation(int64_t id) override;
    void deleteConversation(int64_t id) override;
    Conversation forkConversation(const Conversation& conversation, int64_t upToMessageId) override;
    void updateTitle(int64_t id, const std::string& title) override;
    void updateTemperature(int64_t id, double temperature) override;
    void updateLanguageCode(int64_t id, const std::string& languageCode) override;
    void updateModel(int64_t id, const std::string& model) override;
    void updateUseWebSearch(int64_t id, bool useWebSearch) override;
    void updateCustomModelId(int64_t id, int64_t customModelId) override;
    void updateContextLimit(int64_t id, int contextLimit) override;
    void updatePresencePenalty(int64_t id, double penalty) override;
    void updateFrequencyPenalty(int64_t id, double penalty) override;
    void updateContextSince(int64_t id, Date date) override;
    void updateUpdatedAt(int64_t id, Date date) override;
    void updateSuggestedQuestions(int64_t id, const std::optional<std::string>& q1,
                                  const std::optional<std::string>& q2,
                                  const std::optional<std::string>& q3) override;
    void addCost(int64_t id, double amount) override;

    std::vector<Message> getMessages(int64_t conversationId, int64_t afterId) override;
    int64_t insertMessage(const Message& message) override;
    std::optional<Message> getMessage(int64_t id) override;
    void deleteMessage(int64_t id) override;
    void deleteMessagesAfter(int64_t conversationId, int64_t id) override;
    Message resetContext(int64_t conversationId, Date since, const std::string& name) override;
    void clearContext(int64_t conversationId, Date since, const std::string& name) override;
    void updateMessageContent(int64_t id, const std::string& content) override;
    void updateMessageContentAndDeleteAfter(int64_t conversationId, int64_t id,
                                            const std::string& content) override;
    void updateSpeechFile(int64_t id, const std::optional<std::string>& url) override;

    std::vector<Prompt> getPrompts() override;
    std::optional<Prompt> getPrompt(int64_t id) override;
    int64_t insertPrompt(const Prompt& prompt) override;
    void updatePrompt(int64_t id, const Prompt& prompt) override;
    void deletePrompts(const std::vector<int64_t>& ids) override;

    std::vector<CustomModel> getCustomModels() override;
    std::optional<CustomModel> getCustomModel(int64_t id) override;
    int64_t insertCustomModel(const CustomModel& model) override;
    void updateCustomModel(int64_t id, const std::string& name, const std::string& apiEndpoint,
                           const std::string& modelId, int contextLength,
                           const std::optional<std::vector<CustomModelHeaderEntry>>& headers,
                           bool useStream) override;
    void deleteCustomModel(int64_t id) override;
    void clearClientCaches() override;
    std::string transcribe(const std::filesystem::path& recording) override;
    std::filesystem::path generateSpeech(const std::string& text) override;
    // Where generateSpeech writes; start() sets the data directory. Unset: the
    // standard data directory of AppPaths.
    void setSpeechDirectory(std::filesystem::path directory) {
        speechDirectory_ = std::move(directory);
    }

    // The documents' part of the store.
    DocumentStore& documentStore() { return documentStore_; }
    // The embedders. Where the local model's weights and vocabulary are;
    // start() sets them from the paths, and the remote embedder shares the
    // service's HTTP client. Call it before the first embedder is asked for.
    void configureEmbeddings(EmbedderFactory::Setup setup);
    EmbedderFactory& embedders() { return *embedders_; }

    // The GPT-2 token counter, read on first use.
    const GPTEncoder& encoder() const;
    ClientRouter& router() { return *router_; }

  private:
    std::shared_ptr<SqliteConnection> db_;
    AppPreferences& preferences_;
    MessageTable messageTable_;
    ConversationTable conversationTable_;
    DocumentStore documentStore_;
    CustomModelHelper customModelHelper_;
    CustomModelSecrets customModelSecrets_;
    PromptTable promptTable_;
    std::shared_ptr<HttpClient> http_;
    std::unique_ptr<EmbedderFactory> embedders_;
    std::unique_ptr<ClientRouter> router_;
    std::filesystem::path resourceDirectory_;
    std::filesystem::path speechDirectory_;
    mutable std::once_flag encoderOnce_;
    mutable std::shared_ptr<const GPTEncoder> encoder_;
};

}  // namespace folvane
