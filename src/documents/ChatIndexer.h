#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "SimilaritySearchKit/EmbeddingModelType.h"
#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "documents/DocumentInfo.h"
#include "documents/IndexingSettings.h"
#include "documents/LoadingState.h"
#include "documents/OcrWorkerPool.h"
#include "store/Bookmark.h"
#include "store/Conversation.h"

namespace folvane {

class AppPreferences;
class ChatService;
class FileTagStore;

// Where the indexer gets its embedders: the on-device model, and a remote
// model by type (openAI or textEmbedding3_small).
struct EmbedderSource {
    std::function<std::shared_ptr<EmbeddingsProtocol>()> local;
    std::function<std::shared_ptr<EmbeddingsProtocol>(EmbeddingModelType)> remote;
};

// What the indexer works with. The references must outlive it.
struct ChatIndexerDependencies {
    ChatService& service;
    AppPreferences& preferences;
    EmbedderSource embedders;
    const FileTagStore& fileTags;
    std::filesystem::path resourceDirectory;  // the BERT vocabulary
    TextRecognizerFactory makeRecognizer;     // empty: Tesseract
};

// The indexing part of a chat's state, whole, as it stands after one change.
struct IndexingUpdate {
    LoadingState loadingState = LoadingState::none;
    std::string loadingFailReason;
    int indexingProgress = 0;  // 0 to 99
    int totalPageNumber = 0;
    bool isScannedDocument = false;
    std::vector<DocumentInfo> documents;    // allDocuments, in the chat's order
    std::vector<int64_t> extraBookmarkIds;  // the conversation's, after add and remove

    bool operator==(const IndexingUpdate&) const = default;
};

// The three indexes of an open chat, as they stand; absent ones are null.
struct ChatIndexes {
    std::shared_ptr<SimilarityIndex> local;
    std::shared_ptr<SimilarityIndex> openai;
    std::shared_ptr<SimilarityIndex> openaiNew;
};

// Turns the documents of an open chat into searchable indexes: documents with
// stored rows are read back, the others are extracted, split, redacted and
// embedded once, and their rows stored under their bookmark.
//
// The operations are called from one thread (the main thread of the view
// model); the chain runs on a background task, one document at a time, with up
// to `indexingParallelTask` child threads over the chunks of a document. Every
// change of the state is reported to the listener, whole and in order, from
// whichever thread made it, while the indexer holds its lock: the listener
// posts it on and must not call back into the indexer.
class ChatIndexer {
  public:
    static constexpr const char* localIndexName = "PDF-Local-Index";
    static constexpr const char* openaiIndexName = "PDF-OpenAI-Index";
    static constexpr const char* openaiIndexNewName = "PDF-OpenAI-Index-New";
    static constexpr const char* failReason =
        "Failed to process your documents. This could be a temporary network connection issue. "
        "Please try again in an hour or switch to the Fast Indexing Strategy.";
    static constexpr int chunkSize = 510;
    static constexpr int maxFailuresPerBatch = 5;

    using Listener = std::function<void(const IndexingUpdate&)>;

    // Reads the conversation's bookmarks (main document first) and makes their
    // documents as a chat opens them.
    ChatIndexer(const Conversation& conversation, ChatIndexerDependencies dependencies,
                Listener listener = {});
    // Stops the chain and waits for it.
    ~ChatIndexer();

    ChatIndexer(const ChatIndexer&) = delete;
    ChatIndexer& operator=(const ChatIndexer&) = delete;

    // Starts the chain over the chat's documents. False when it returned at once:
    // no bookmarks, already indexing or loaded, or no custom model and no key.
    // On true the conversation's updatedAt has been moved to now in the table.
    bool loadIndex();
    // Stops the chain (its children at their next chunk) and drops the indexes;
    // a loaded chat goes back to `none`, so that the next loadIndex reloads it.
    void unloadIndex();
    // Processes one document again, with or without OCR of every page.
    void rebuildIndex(int64_t bookmarkId, bool forceOCR);
    // Takes a document out of the chat; its rows stay for other chats.
    void removeFromChat(int64_t bookmarkId);
    // Opens more documents in a loaded chat and indexes those without rows.
    void addDocuments(const std::vector<std::string>& fileUrls);
    // The user has pointed to a stale document's file anew.
    void updateBookmark(int64_t bookmarkId, const std::string& fileUrl);

    // The chat's custom model; with one, no remote index is made.
    void setCustomModelId(int64_t customModelId);

    // Blocks until the running chain, if any, has ended.
    void wait();

    IndexingUpdate state() const;
    ChatIndexes indexes() const;
    std::vector<Bookmark> bookmarks() const;
    // The unredacted first page text of each document extracted in this session.
    std::map<int64_t, std::string> firstPageContentMap() const;

  private:
    struct ChosenIndex {
        std::shared_ptr<SimilarityIndex> index;
        std::shared_ptr<EmbeddingsProtocol> model;
        std::string embeddingModel;  // the name saveIndexItems takes: "" for the local model
    };

    // With the lock held: report the state as it stands.
    void publish();
    void setDocumentState(int64_t bookmarkId, IndexingState state);
    void markIndexed(int64_t bookmarkId);

    void startTask(std::function<void(std::stop_token)> work);
    // The chain's steps, on its task.
    void makeIndexes(const IndexingSettings& settings);
    void runChain(std::stop_token stop, const IndexingSettings& settings,
                  const std::vector<Bookmark>& toIndex, const std::vector<Bookmark>& indexed,
                  bool extra);
    void abandon(bool extra);
    bool processDocument(std::stop_token stop, const IndexingSettings& settings,
                         const Bookmark& bookmark, int position, int total, bool forceOCR);
    ChosenIndex chooseIndex(const IndexingSettings& settings, int pageCount) const;
    // With the lock held: the index that rows of this model go to.
    std::shared_ptr<SimilarityIndex> routedIndex(const std::string& embeddingModel) const;
    void loadRows(const std::vector<Bookmark>& indexed);
    void tagDocuments(const IndexingSettings& settings, const std::vector<int64_t>& bookmarkIds);
    Bookmark findOrInsertBookmark(const std::string& fileUrl);

    ChatService& service_;
    AppPreferences& preferences_;
    EmbedderSource embedders_;
    const FileTagStore& fileTags_;
    std::filesystem::path resourceDirectory_;
    TextRecognizerFactory makeRecognizer_;
    Listener listener_;

    mutable std::recursive_mutex mutex_;  // guards everything below
    int64_t conversationId_;
    int64_t customModelId_;
    std::vector<int64_t> extraBookmarkIds_;
    std::vector<Bookmark> bookmarks_;
    IndexingUpdate state_;
    std::shared_ptr<SimilarityIndex> localIndex_;
    std::shared_ptr<SimilarityIndex> openaiIndex_;
    std::shared_ptr<SimilarityIndex> openaiIndexNew_;
    std::shared_ptr<EmbeddingsProtocol> localModel_;
    std::shared_ptr<EmbeddingsProtocol> openaiModel_;
    std::shared_ptr<EmbeddingsProtocol> openaiNewModel_;
    std::map<int64_t, std::string> firstPageContentMap_;
    std::vector<Document> chunkedDocuments_;
    std::vector<std::vector<float>> embeddings_;
    std::jthread indexingTask_;
};

}  // namespace folvane
