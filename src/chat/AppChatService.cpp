#include "chat/AppChatService.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "chat/AppChatServiceError.h"
#include "chat/ChatHistoryBuilder.h"
#include "chat/ClientRouter.h"
#include "documents/DocumentIntake.h"
#include "platform/AppPaths.h"
#include "platform/CurlHttpClient.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "providers/GPTEncoder.h"
#include "providers/ModelNames.h"
#include "providers/OpenAI.h"
#include "speech/DatedFileName.h"
#include "store/AppDatabase.h"
#include "store/AppPreferences.h"
#include "store/FatalError.h"

namespace folvane {

AppChatService::AppChatService(std::shared_ptr<SqliteConnection> db, AppPreferences& preferences)
    : AppChatService(std::move(db), preferences, nullptr, nullptr) {}

AppChatService::AppChatService(std::shared_ptr<SqliteConnection> db, AppPreferences& preferences,
                               std::shared_ptr<HttpClient> http,
                               std::shared_ptr<const GPTEncoder> encoder)
    : db_(std::move(db)),
      preferences_(preferences),
      messageTable_(db_),
      conversationTable_(db_),
      documentStore_(db_),
      customModelHelper_(db_),
      customModelSecrets_(preferences_.secretStore()),
      promptTable_(db_),
      http_(http ? std::move(http) : std::make_shared<CurlHttpClient>()),
      embedders_(std::make_unique<EmbedderFactory>(preferences_,
                                                   EmbedderFactory::Setup{{}, {}, http_, nullptr})),
      router_(std::make_unique<ClientRouter>(preferences_, customModelHelper_, customModelSecrets_,
                                             [http = http_] { return http; })),
      encoder_(std::move(encoder)) {
    log("AppChatService.init() done");
}

AppChatService::~AppChatService() = default;

std::unique_ptr<AppChatService> AppChatService::start(const AppPaths& paths,
                                                      AppPreferences& preferences,
                                                      const PdfPageCounter& pageCounter,
                                                      std::shared_ptr<HttpClient> http) {
    std::shared_ptr<SqliteConnection> db;
    try {
        db = AppDatabase(paths, preferences, pageCounter).connect();
    } catch (const FatalError&) {
        throw;
    } catch (const std::exception& error) {
        log(error.what());
        throw FatalError("Failed to connect to db.sqlite3");
    }
    if (!http) http = std::make_shared<CurlHttpClient>();
    auto service = std::make_unique<AppChatService>(std::move(db), preferences, http, nullptr);
    service->configureEmbeddings({std::filesystem::path(paths.dataDirectory) / "models",
                                  paths.resourceDirectory, http, nullptr});
    service->resourceDirectory_ = paths.resourceDirectory;
    service->speechDirectory_ = paths.dataDirectory;
    return service;
}

const GPTEncoder& AppChatService::encoder() const {
    std::call_once(encoderOnce_, [this] {
        if (!encoder_) encoder_ = std::make_shared<const GPTEncoder>(resourceDirectory_);
    });
    return *encoder_;
}

namespace {

bool isImageTurn(const std::vector<Chat>& chats) {
    return !chats.empty() && chats.back().content &&
           std::holds_alternative<std::vector<ChatContentItem>>(*chats.back().content);
}

// The body of a chat turn. Penalties go to OpenAI only when set; an image turn
// goes to the vision model with a reply bound and both penalties.
ChatQuery chatQuery(std::vector<Chat> chats, const Conversation& conversation) {
    ChatQuery query;
    query.temperature = conversation.temperature;
    if (isImageTurn(chats)) {
        query.model = std::string(visionModel);
        query.maxTokens = 4096;
        query.presencePenalty = conversation.presencePenalty;
        query.frequencyPenalty = conversation.frequencyPenalty;
    } else {
        query.model = conversation.model;
        if (conversation.customModelId == 0) {
            if (conversation.presencePenalty > 0) {
                query.presencePenalty = conversation.presencePenalty;
            }
            if (conversation.frequencyPenalty > 0) {
                query.frequencyPenalty = conversation.frequencyPenalty;
            }
        }
    }
    query.messages = std::move(chats);
    return query;
}

}  // namespace

int AppChatService::contextLength(const Conversation& conversation) {
    return router_->contextLength(conversation);
}

void AppChatService::chatStream(const std::string& systemInstruction,
                                const std::vector<Message>& messages,
                                const Conversation& conversation,
                                const std::function<void(const ChatStreamResult&)>& onResult,
                                std::stop_token stop) {
    ClientRouter::Route route = router_->resolveClient(conversation);
    std::vector<Chat> chats = ChatHistoryBuilder(encoder()).buildChats(
        systemInstruction, messages, conversation, route.contextLength);
    route.client->streamChats(chatQuery(std::move(chats), conversation), onResult, stop);
}

void AppChatService::configureEmbeddings(EmbedderFactory::Setup setup) {
    if (!setup.http) setup.http = http_;
    embedders_ = std::make_unique<EmbedderFactory>(preferences_, std::move(setup));
}

Conversation AppChatService::createConversation(const std::vector<std::string>& urls) {
    if (urls.empty()) throw AppChatServiceError(AppChatServiceError::Case::initError);

    const std::string title = fileStem(urls.front());
    const double temperature = preferences_.defaultTemperature();
    std::string model = preferences_.defaultModel();
    const int64_t customModelId = preferences_.customModelId();
    if (customModelId >= 1) {
        // A model that has been deleted leaves the default model in place; the
        // chat keeps the stale id all the same.
        if (auto custom = customModelHelper_.find(customModelId)) model = custom->modelId;
    }

    const DocumentIntake intake(documentStore_);
    int64_t bookmarkId = 0;
    std::vector<int64_t> extraBookmarkIds;
    for (const auto& url : urls) {
        const int64_t id = intake.findOrInsertBookmark(url).id;
        if (url == urls.front()) {
            bookmarkId = id;
        } else {
            extraBookmarkIds.push_back(id);
        }
    }

    if (urls.size() == 1 && preferences_.continueLastConversation()) {
        if (auto latest = conversationTable_.findLatest(bookmarkId)) return *latest;
    }

    log("Creating new convo");
    Conversation conversation;
    conversation.id = 0;
    conversation.title = title;
    conversation.bookmarkId = bookmarkId;
    conversation.extraBookmarkIds = std::move(extraBookmarkIds);
    conversation.model = model;
    conversation.temperature = temperature;
    conversation.customModelId = customModelId;
    conversation.contextSince = referenceInstant();
    const int64_t id = conversationTable_.insert(conversation);
    auto stored = conversationTable_.find(id);
    if (!stored) throw AppChatServiceError(AppChatServiceError::Case::insertionFailed);
    return *stored;
}

// Store operations: one call of a table model each.

std::vector<Conversation> AppChatService::getConversations(int64_t afterId) {
    return conversationTable_.getAll(afterId);
}
std::optional<Conversation> AppChatService::getConversation(int64_t id) {
    return conversationTable_.find(id);
}
void AppChatService::deleteConversation(int64_t id) {
    conversationTable_.remove(id);
}
Conversation AppChatService::forkConversation(const Conversation& conversation,
                                              int64_t upToMessageId) {
    return conversationTable_.fork(conversation, upToMessageId);
}
void AppChatService::updateTitle(int64_t id, const std::string& title) {
    conversationTable_.updateTitle(id, title);
}
void AppChatService::updateTemperature(int64_t id, double temperature) {
    conversationTable_.updateTemperature(id, temperature);
}
void AppChatService::updateLanguageCode(int64_t id, const std::string& languageCode) {
    conversationTable_.updateLanguageCode(id, languageCode);
}
void AppChatService::updateModel(int64_t id, const std::string& model) {
    conversationTable_.updateModel(id, model);
}
void AppChatService::updateUseWebSearch(int64_t id, bool useWebSearch) {
    conversationTable_.updateUseWebSearch(id, useWebSearch);
}
void AppChatService::updateCustomModelId(int64_t id, int64_t customModelId) {
    conversationTable_.updateCustomModelId(id, customModelId);
}
void AppChatService::updateContextLimit(int64_t id, int contextLimit) {
    conversationTable_.updateContextLimit(id, contextLimit);
}
void AppChatService::updatePresencePenalty(int64_t id, double penalty) {
    conversationTable_.updatePresencePenalty(id, penalty);
}
void AppChatService::updateFrequencyPenalty(int64_t id, double penalty) {
    conversationTable_.updateFrequencyPenalty(id, penalty);
}
void AppChatService::updateContextSince(int64_t id, Date date) {
    conversationTable_.updateContextSince(id, date);
}
void AppChatService::updateUpdatedAt(int64_t id, Date date) {
    conversationTable_.updateUpdatedAt(id, date);
}
void AppChatService::updateSuggestedQuestions(int64_t id, const std::optional<std::string>& q1,
                                              const std::optional<std::string>& q2,
                                              const std::optional<std::string>& q3) {
    conversationTable_.updateSuggestedQuestions(id, q1, q2, q3);
}
void AppChatService::addCost(int64_t id, double amount) {
    conversationTable_.addCost(id, amount);
}

std::vector<Message> AppChatService::getMessages(int64_t conversationId, int64_t afterId) {
    return messageTable_.getAll(conversationId, afterId);
}
int64_t AppChatService::insertMessage(const Message& message) {
    return messageTable_.insert(message);
}
std::optional<Message> AppChatService::getMessage(int64_t id) {
    return messageTable_.find(id);
}
void AppChatService::deleteMessage(int64_t id) {
    messageTable_.remove(id);
}
void AppChatService::deleteMessagesAfter(int64_t conversationId, int64_t id) {
    messageTable_.deleteAfter(conversationId, id);
}
Message AppChatService::resetContext(int64_t conversationId, Date since, const std::string& name) {
    return conversationTable_.resetContext(conversationId, since, name);
}
void AppChatService::clearContext(int64_t conversationId, Date since, const std::string& name) {
    conversationTable_.clearContext(conversationId, since, name);
}
void AppChatService::updateMessageContent(int64_t id, const std::string& content) {
    messageTable_.updateContent(id, content);
}
void AppChatService::updateMessageContentAndDeleteAfter(int64_t conversationId, int64_t id,
                                                        const std::string& content) {
    messageTable_.updateContentAndDeleteAfter(conversationId, id, content);
}
void AppChatService::updateSpeechFile(int64_t id, const std::optional<std::string>& url) {
    messageTable_.updateSpeechFile(id, url);
}

std::vector<Prompt> AppChatService::getPrompts() {
    return promptTable_.getAll();
}
std::optional<Prompt> AppChatService::getPrompt(int64_t id) {
    return promptTable_.find(id);
}
int64_t AppChatService::insertPrompt(const Prompt& prompt) {
    return promptTable_.insert(prompt);
}
void AppChatService::updatePrompt(int64_t id, const Prompt& prompt) {
    promptTable_.update(id, prompt);
}
void AppChatService::deletePrompts(const std::vector<int64_t>& ids) {
    promptTable_.remove(ids);
}

// The custom models' keys live in the secret store; the rows keep their
// secret headers with empty values.
std::vector<CustomModel> AppChatService::getCustomModels() {
    auto models = customModelHelper_.getAll();
    for (auto& model : models) customModelSecrets_.fill(model);
    return models;
}
std::optional<CustomModel> AppChatService::getCustomModel(int64_t id) {
    auto model = customModelHelper_.find(id);
    if (model) customModelSecrets_.fill(*model);
    return model;
}
int64_t AppChatService::insertCustomModel(const CustomModel& model) {
    CustomModel row = model;
    row.headers = CustomModelSecrets::withoutSecrets(model.headers);
    const int64_t id = customModelHelper_.insert(row);
    customModelSecrets_.save(id, model.headers);
    return id;
}
void AppChatService::updateCustomModel(
    int64_t id, const std::string& name, const std::string& apiEndpoint, const std::string& modelId,
    int contextLength, const std::optional<std::vector<CustomModelHeaderEntry>>& headers,
    bool useStream) {
    if (!customModelHelper_.find(id)) return;
    customModelSecrets_.save(id, headers);
    customModelHelper_.update(id, name, apiEndpoint, modelId, contextLength,
                              CustomModelSecrets::withoutSecrets(headers), useStream);
}
void AppChatService::deleteCustomModel(int64_t id) {
    customModelHelper_.remove(id);
    customModelSecrets_.remove(id);
}
void AppChatService::clearClientCaches() {
    router_->clearCaches();
}

std::string AppChatService::transcribe(const std::filesystem::path& recording) {
    std::shared_ptr<OpenAI> client = router_->defaultClient();
    std::ifstream in(recording, std::ios::binary);
    if (!in) throw std::runtime_error("Could not read the recording " + recording.string());
    AudioTranscriptionQuery query;
    query.file.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    query.fileName = recording.filename().string();
    query.model = "whisper-1";
    if (const std::string language = preferences_.sttLanguageCode(); !language.empty()) {
        query.language = language;
    }
    return client->audioTranscriptions(query).text;
}

std::filesystem::path AppChatService::generateSpeech(const std::string& text) {
    std::shared_ptr<OpenAI> client = router_->defaultClient();
    AudioSpeechQuery query;
    query.model = preferences_.voiceModel();
    query.input = text;
    query.voice = preferences_.speechVoice();
    query.responseFormat = "mp3";
    query.speed = 1.0;

    const std::filesystem::path directory =
        speechDirectory_.empty() ? std::filesystem::path(AppPaths::standard().dataDirectory)
                                 : speechDirectory_;
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        // The request still goes out: writing its file is what decides
        // whether speech can be had, and its failure then says why.
        log("Could not create directory: " + error.message());
    }
    const std::filesystem::path file =
        directory / ("Speech-" + datedFileStem(std::chrono::system_clock::now()) + ".mp3");
    client->audioSpeech(query, file);
    return file;
}

}  // namespace folvane
