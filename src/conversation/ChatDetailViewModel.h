#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "conversation/ChatDetailInput.h"
#include "conversation/ChatDetailState.h"
#include "conversation/ChatSearch.h"
#include "conversation/ChatSpeech.h"
#include "conversation/SendFlow.h"
#include "conversation/ViewModel.h"
#include "documents/ChatIndexer.h"

namespace folvane {

class AppPreferences;
class ChatService;
class Clipboard;
class DocumentStore;
class GPTEncoder;
class MainQueue;
class CompletionSink;
struct SpeechServices;

// What a chat's view model works with. The references outlive the view model.
struct ChatDetailServices {
    using IndexerFactory = std::function<std::unique_ptr<ChatIndexer>(
        const Conversation& conversation, ChatIndexer::Listener listener)>;

    ChatService& chatService;
    AppPreferences& preferences;
    MainQueue& mainQueue;
    const GPTEncoder& encoder;  // token counts of the instruction check and the cost
    // Makes the chat's indexer; empty: the chat has no document work at all.
    IndexerFactory makeIndexer;
    // The on-device embedder that compares an answer with its chunks.
    std::function<std::shared_ptr<EmbeddingsProtocol>()> localEmbedder;
    Clipboard* clipboard = nullptr;  // none: copying does nothing
    // Where the documents are read from when there is no indexer.
    const DocumentStore* documentStore = nullptr;
    // Runs when the user sends a message, before it is stored (the tour's
    // step, the first-use milestones); empty: nothing. Throws nothing.
    std::function<void(const Conversation& conversation)> messageSending = {};
    // The microphone, the speakers and the on-device speech engines; null:
    // dictation and reading aloud only make and read files (the command line).
    SpeechServices* speech = nullptr;
};

// The view model of one chat: the conversation, its documents and indexes, the
// messages, the running request. Everything is called on the main thread, and
// every change of the state is made there, in order: background work posts
// its changes to the main queue. A request that a newer send has replaced
// never writes into the newer one's state.
class ChatDetailViewModel final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    // Cheap: reads the custom model and the documents, no message, no index.
    // A failed read shows in lastError.
    ChatDetailViewModel(ChatDetailServices services, const Conversation& conversation);
    // Stops the running work and waits for it.
    ~ChatDetailViewModel() override;

    void trigger(ChatDetailInput input) override;

    // True while a request's task has not reached its end.
    bool isRequestRunning() const { return sendFlow_.isRequestRunning(); }
    // Blocks until every request task has ended (their posted changes may still
    // wait in the main queue). For the CLI and tests.
    void waitForRequests() { sendFlow_.waitForRequests(); }
    ChatIndexer* indexer() { return indexer_.get(); }
    // True while a transcription or a speech file's download runs.
    bool isSpeechRunning() const { return speech_.isTaskRunning(); }
    // Blocks until they have ended (their posted changes may still wait in
    // the main queue). For the CLI and tests.
    void waitForSpeech() { speech_.waitForTasks(); }

  private:
    friend class SendFlow;
    friend class ChatSearch;
    friend class ChatSpeech;

    void sync();
    // Throws ImageError for the first file URL that is no readable picture.
    void checkImages(const std::vector<std::string>& urls);
    // A failed input: its words in lastError.
    void showError(const std::exception& error);
    void updateConversation(const std::function<void(Conversation&)>& change);
    void applyIndexingUpdate(const IndexingUpdate& update);
    void copyLastResponse();
    void highlightContentForReference(const Reference& reference);

    ChatDetailServices services_;
    Conversation conversation_;
    std::unique_ptr<ChatIndexer> indexer_;
    // Posted blocks hold it weakly: a block that outlives the view model does nothing.
    std::shared_ptr<ChatDetailViewModel*> alive_;
    SendFlow sendFlow_{*this, services_};
    ChatSearch search_{*this, services_.mainQueue};
    ChatSpeech speech_{*this, services_};
};

}  // namespace folvane
