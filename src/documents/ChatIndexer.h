#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "documents/ChatIndexerDependencies.h"
#include "documents/ChatIndexes.h"
#include "documents/IndexingSettings.h"
#include "documents/IndexingUpdate.h"
#include "store/Bookmark.h"
#include "store/Conversation.h"

namespace folvane {

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
//
// A document that fails is marked failed with the reason in its
// errorMessage; the other documents go on. One that is indexed though part of
// it could not be read says so in its warning. Only one indexer in all processes
// indexes a document at a time: the others wait for it and then read its rows.
class ChatIndexer {
  public:
    static constexpr const char* localIndexName = "PDF-Local-Index";
    static constexpr const char* openaiIndexName = "PDF-OpenAI-Index";
    static constexpr const char* openaiIndexNewName = "PDF-OpenAI-Index-New";
    static constexpr int chunkSize = 510;

    using Listener = std::function<void(const IndexingUpdate&)>;

    // Reads the conversation's bookmarks (main document first) and makes their
    // documents as a chat opens them. Throws DatabaseError.
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
    // Processes one document again, with or without OCR of every page. Its old
    // rows answer until the new ones replace them.
    void rebuildIndex(int64_t bookmarkId, bool forceOCR);
    // Processes one document again with the local model (loading it anew when
    // its weights appeared since), whatever the strategy chose before. The
    // chat's local index moves to that model, keeping the items it holds.
    // Does nothing unless the weights are installed and the document's rows
    // were made by another model; a model that fails to load fails the
    // document with the reason, its old rows still answering.
    void reembedWithLocalModel(int64_t bookmarkId);
    // Takes a document out of the chat; its rows stay for other chats. Throws
    // DatabaseError, leaving the chat as it was.
    void removeFromChat(int64_t bookmarkId);
    // Opens more documents in a loaded chat and indexes those without rows.
    // Throws what intake throws for the first file it refuses, before any
    // document joins the chat.
    void addDocuments(const std::vector<std::string>& fileUrls);
    // The user has pointed to a stale document's file anew. Throws FileError
    // or DatabaseError.
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
        std::string embeddingModel;  // the name the rows are stored under
    };
    enum class Outcome { processed, loaded, stopped };

    // With the lock held: report the state as it stands.
    void publish();
    void setDocumentState(int64_t bookmarkId, IndexingState state, const std::string& reason = {});
    void markIndexed(int64_t bookmarkId);

    void startTask(std::function<void(std::stop_token)> work);
    // The chain's steps, on its task.
    void makeIndexes(const IndexingSettings& settings);
    void runChain(std::stop_token stop, const IndexingSettings& settings,
                  const std::vector<Bookmark>& toIndex, const std::vector<Bookmark>& indexed,
                  bool extra);
    void abandon(bool extra);
    // Indexes one document, its rows stored when it returns `processed`, or
    // loads the rows that another indexer stored meanwhile. Throws the
    // document's failure (FileError, DocumentError, OcrError, DatabaseError,
    // the embedder's).
    Outcome processDocument(std::stop_token stop, const IndexingSettings& settings,
                            const Bookmark& bookmark, int position, int total, bool forceOCR,
                            bool rebuild, bool localOnly = false);
    ChosenIndex chooseIndex(const IndexingSettings& settings, int pageCount,
                            bool localOnly = false) const;
    // Starts the reprocessing of one document; false when it cannot start.
    bool startRebuild(int64_t bookmarkId, bool forceOCR, bool localModel);
    // On the task: makes the local model current for the local index. Throws
    // EmbeddingModelLoadError when only the lexical model loads.
    void switchToLocalModel();
    void setDocumentModel(int64_t bookmarkId, const std::string& embeddingModel);
    // With the lock held: the index that rows of this model go to.
    std::shared_ptr<SimilarityIndex> routedIndex(const std::string& embeddingModel) const;
    // Reads the stored rows of the documents into the indexes. A document
    // whose rows cannot be read is marked failed with the reason, which is
    // returned; the others go on.
    std::vector<std::string> loadRows(const std::vector<Bookmark>& indexed);
    // One document's rows; throws the store's failure.
    void loadRowsOf(const Bookmark& bookmark);
    void tagDocuments(const IndexingSettings& settings, const std::vector<int64_t>& bookmarkIds);

    const DocumentStore& store_;
    AppPreferences& preferences_;
    Embedders& embedders_;
    const FileTagStore& fileTags_;
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
