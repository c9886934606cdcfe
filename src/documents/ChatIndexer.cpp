#include "documents/ChatIndexer.h"

#include <algorithm>
#include <exception>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/CustomTokenSplitter.h"
#include "SimilaritySearchKit/Embedders.h"
#include "documents/ChunkEmbeddingJob.h"
#include "documents/DocumentError.h"
#include "documents/ExtractionWarning.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "platform/FileBookmark.h"
#include "platform/FileTagStore.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "store/AppPreferences.h"
#include "store/DocumentStore.h"

namespace folvane {

namespace {

constexpr const char* adaModelName = "text-embedding-ada-002";
constexpr const char* embedding3SmallModelName = "text-embedding-3-small";

std::shared_ptr<SimilarityIndex> makeIndex(const std::string& name,
                                           std::shared_ptr<EmbeddingsProtocol> model) {
    return std::make_shared<SimilarityIndex>(name, std::move(model),
                                             std::make_shared<CosineSimilarity>());
}

}  // namespace

ChatIndexer::ChatIndexer(const Conversation& conversation, ChatIndexerDependencies dependencies,
                         Listener listener)
    : store_(dependencies.store),
      preferences_(dependencies.preferences),
      embedders_(dependencies.embedders),
      fileTags_(dependencies.fileTags),
      makeRecognizer_(std::move(dependencies.makeRecognizer)),
      listener_(std::move(listener)),
      conversationId_(conversation.id),
      customModelId_(conversation.customModelId),
      extraBookmarkIds_(conversation.extraBookmarkIds) {
    bookmarks_ = store_.bookmarks(conversation.allBookmarkIds());
    state_.documents = documentInfos(bookmarks_);
    state_.extraBookmarkIds = extraBookmarkIds_;
}

ChatIndexer::~ChatIndexer() {
    std::jthread task;
    {
        std::lock_guard lock(mutex_);
        task = std::move(indexingTask_);
    }
    // The jthread asks its chain to stop and waits for it.
}

void ChatIndexer::publish() {
    state_.localModelInstalled = embedders_.localModelInstalled();
    if (listener_) listener_(state_);
}

void ChatIndexer::setDocumentState(int64_t bookmarkId, IndexingState indexingState,
                                   const std::string& reason) {
    for (auto& document : state_.documents) {
        if (document.bookmark.id != bookmarkId) continue;
        document.indexingState = indexingState;
        if (indexingState == IndexingState::failed) {
            document.errorMessage = reason;
        } else if (!document.isStale) {
            document.errorMessage.clear();
        }
    }
}

void ChatIndexer::markIndexed(int64_t bookmarkId) {
    for (auto& bookmark : bookmarks_) {
        if (bookmark.id == bookmarkId) bookmark.indexingStatus = "indexed";
    }
    for (auto& document : state_.documents) {
        if (document.bookmark.id == bookmarkId) document.bookmark.indexingStatus = "indexed";
    }
}

void ChatIndexer::startTask(std::function<void(std::stop_token)> work) {
    std::lock_guard lock(mutex_);
    // One chain at a time: a new chain first waits for the one before, and a
    // stop of the new one reaches the old one too.
    indexingTask_ = std::jthread([previous = std::move(indexingTask_),
                                  work = std::move(work)](std::stop_token stop) mutable {
        if (previous.joinable()) {
            std::stop_callback forward(stop, [&previous] { previous.request_stop(); });
            previous.join();
        }
        work(stop);
    });
}

bool ChatIndexer::loadIndex() {
    const IndexingSettings settings = IndexingSettings::from(preferences_);
    std::vector<Bookmark> toIndex;
    std::vector<Bookmark> indexed;
    {
        std::lock_guard lock(mutex_);
        if (bookmarks_.empty()) return false;
        if (state_.loadingState == LoadingState::indexing ||
            state_.loadingState == LoadingState::loaded) {
            return false;
        }
        if (customModelId_ == 0 && !settings.hasOpenAIKey) return false;

        store_.touchChat(conversationId_, now());
        // The statuses are read anew: after a failed chain, the documents that
        // were finished before the failure are loaded, not embedded again.
        for (auto& bookmark : bookmarks_) {
            if (auto row = store_.bookmark(bookmark.id)) {
                bookmark.indexingStatus = row->indexingStatus;
            }
        }
        for (const auto& bookmark : bookmarks_) {
            (bookmark.indexingStatus == "indexed" ? indexed : toIndex).push_back(bookmark);
        }
        state_.loadingState = toIndex.empty() ? LoadingState::loading : LoadingState::indexing;
        publish();
    }
    startTask([this, settings, toIndex, indexed](std::stop_token stop) {
        makeIndexes(settings);
        runChain(stop, settings, toIndex, indexed, false);
    });
    return true;
}

void ChatIndexer::makeIndexes(const IndexingSettings& settings) {
    bool remote = false;
    {
        std::lock_guard lock(mutex_);
        remote = !openaiIndex_ && customModelId_ == 0 && settings.hasOpenAIKey;
    }
    if (remote) {
        auto ada = embedders_.remote(EmbeddingModelType::openAI);
        auto small = embedders_.remote(EmbeddingModelType::textEmbedding3_small);
        auto adaIndex = ada ? makeIndex(openaiIndexName, ada) : nullptr;
        auto smallIndex = small ? makeIndex(openaiIndexNewName, small) : nullptr;
        std::lock_guard lock(mutex_);
        openaiIndex_ = adaIndex;
        openaiModel_ = ada;
        openaiIndexNew_ = smallIndex;
        openaiNewModel_ = small;
    }
    auto local = embedders_.local();
    auto localIndex = makeIndex(localIndexName, local);
    std::lock_guard lock(mutex_);
    localIndex_ = localIndex;
    localModel_ = local;
}

void ChatIndexer::runChain(std::stop_token stop, const IndexingSettings& settings,
                           const std::vector<Bookmark>& toIndex,
                           const std::vector<Bookmark>& indexed, bool extra) {
    const int total = int(toIndex.size());
    int failures = 0;
    std::string firstReason;
    for (int i = 0; i < total; ++i) {
        const Bookmark& bookmark = toIndex[size_t(i)];
        {
            std::lock_guard lock(mutex_);
            setDocumentState(bookmark.id, IndexingState::indexing);
            publish();
        }
        try {
            if (processDocument(stop, settings, bookmark, i + 1, total, false, false) ==
                Outcome::stopped) {
                return abandon(extra);
            }
            std::lock_guard lock(mutex_);
            setDocumentState(bookmark.id, IndexingState::indexed);
            publish();
        } catch (const std::exception& error) {
            // The document shows its failure; the others of the chat go on.
            std::lock_guard lock(mutex_);
            if (failures++ == 0) firstReason = error.what();
            setDocumentState(bookmark.id, IndexingState::failed, error.what());
            publish();
        }
    }
    if (stop.stop_requested()) return abandon(extra);

    if (settings.autoTagIndexedFiles) {
        std::vector<int64_t> ids;
        if (extra) {
            for (const auto& bookmark : toIndex) ids.push_back(bookmark.id);
            for (const auto& bookmark : indexed) ids.push_back(bookmark.id);
        } else {
            std::lock_guard lock(mutex_);
            for (const auto& document : state_.documents) ids.push_back(document.bookmark.id);
        }
        tagDocuments(settings, ids);
    }
    {
        std::lock_guard lock(mutex_);
        state_.indexingProgress = 99;
        publish();
    }
    const std::vector<std::string> unreadable = loadRows(indexed);
    if (stop.stop_requested()) return abandon(extra);
    std::lock_guard lock(mutex_);
    const size_t all = size_t(total) + indexed.size();
    if (firstReason.empty() && !unreadable.empty()) firstReason = unreadable.front();
    if (!extra && all > 0 && size_t(failures) + unreadable.size() == all) {
        // Nothing of the chat can answer.
        state_.loadingFailReason =
            all == 1 ? firstReason : "None of your documents could be processed. " + firstReason;
        state_.loadingState = LoadingState::failed;
    } else {
        state_.loadingFailReason.clear();
        state_.loadingState = LoadingState::loaded;
    }
    publish();
}

void ChatIndexer::abandon(bool extra) {
    // A chain stopped between its steps leaves the chat to the next loadIndex.
    if (extra) return;
    std::lock_guard lock(mutex_);
    state_.loadingState = LoadingState::none;
    publish();
}

ChatIndexer::ChosenIndex ChatIndexer::chooseIndex(const IndexingSettings& settings, int pageCount,
                                                  bool localOnly) const {
    std::lock_guard lock(mutex_);
    const ChosenIndex local{localIndex_, localModel_,
                            std::string(rawValue(embedders_.localType()))};
    const ChosenIndex remote{openaiIndexNew_, openaiNewModel_, embedding3SmallModelName};
    if (localOnly || (!openaiIndex_ && !openaiIndexNew_)) return local;
    switch (settings.dataIngestionStrategy) {
        case DataIngestionStrategy::local:
            return local;
        case DataIngestionStrategy::openai:
            return remote.index ? remote : local;
        case DataIngestionStrategy::smart:
            return pageCount > settings.pageCountThreshold || !remote.index ? local : remote;
    }
    return local;
}

ChatIndexer::Outcome ChatIndexer::processDocument(std::stop_token stop,
                                                  const IndexingSettings& settings,
                                                  const Bookmark& bookmark, int position, int total,
                                                  bool forceOCR, bool rebuild, bool localOnly) {
    const auto claim = store_.claimIndexing(bookmark.id, stop);
    if (!claim) return Outcome::stopped;
    if (!rebuild) {
        // Another indexer may have finished the document while this one waited.
        if (auto row = store_.bookmark(bookmark.id); row && row->indexingStatus == "indexed") {
            loadRowsOf(*row);
            std::lock_guard lock(mutex_);
            markIndexed(bookmark.id);
            return Outcome::loaded;
        }
    }
    const std::vector<IndexItemExtra> oldRows =
        rebuild ? store_.indexItems(bookmark.id) : std::vector<IndexItemExtra>{};

    const CustomTokenSplitter splitter(embedders_.tokenizer());
    const auto path = pathFromFileUrl(bookmark.filePath);
    if (!path) throw FileError("“" + bookmark.filePath + "” is not a file on this computer.");
    const auto pdf = PdfDocument::open(*path);
    const std::string name = std::filesystem::path(*path).filename().string();
    if (auto warning = ExtractionWarning::of(name, pdf->pageCount(), pdf->wasRepaired(), 1);
        warning && warning->fatal) {
        throw DocumentError(warning->text);
    }

    const double base = 100.0 / total * (position - 1);
    const bool scanned = isScannedPDF(*pdf, 10, 20);
    {
        std::lock_guard lock(mutex_);
        state_.totalPageNumber = pdf->pageCount();
        state_.isScannedDocument = scanned;
        state_.indexingProgress = int(base);
        publish();
    }
    const ChosenIndex chosen = chooseIndex(settings, pdf->pageCount(), localOnly);
    if (!chosen.index || !chosen.model) return Outcome::stopped;  // the indexes were unloaded

    const PdfTextExtractor extractor = makeRecognizer_
                                           ? PdfTextExtractor(settings.ocr, makeRecognizer_)
                                           : PdfTextExtractor(settings.ocr);
    const std::vector<Document> pages = extractor.extractPages(*pdf, scanned, forceOCR, stop);
    if (stop.stop_requested()) return Outcome::stopped;
    const size_t pagesWithText =
        size_t(std::count_if(pages.begin(), pages.end(),
                             [](const Document& page) { return !page.pageContent.empty(); }));
    const auto warning =
        ExtractionWarning::of(name, pdf->pageCount(), pdf->wasRepaired(), pagesWithText);
    if (warning && warning->fatal) throw DocumentError(warning->text);
    {
        // The pages that could be read are indexed; the document says that the
        // rest may be missing.
        std::lock_guard lock(mutex_);
        for (auto& document : state_.documents) {
            if (document.bookmark.id == bookmark.id)
                document.warning = warning ? warning->text : "";
        }
        publish();
    }
    std::vector<Document> chunks = splitter.splitDocuments(pages, ChunkHeaderOptions{});
    const std::string idText = std::to_string(bookmark.id);
    {
        std::lock_guard lock(mutex_);
        chunkedDocuments_ = chunks;
        embeddings_.clear();
        if (!pages.empty() && !firstPageContentMap_.contains(bookmark.id)) {
            firstPageContentMap_[bookmark.id] = pages.front().pageContent;
        }
    }

    ChunkEmbeddingJob job;
    job.bookmarkIdText = idText;
    job.index = chosen.index.get();
    job.model = chosen.model.get();
    job.parallelTasks = settings.indexingParallelTask;
    job.redaction = settings.redaction;
    const double share = 100.0 / total;
    const size_t chunkCount = chunks.size();
    job.onProgress = [&](int processed) {
        std::lock_guard lock(mutex_);
        // The last batch of the last document would make 100; the flow ends at 99.
        state_.indexingProgress =
            std::min(99, int(base) + int(share * processed / double(chunkCount)));
        publish();
    };
    EmbeddedChunks embedded = embedChunks(chunks, job, stop);
    if (embedded.stopped) return Outcome::stopped;

    try {
        // The old rows go in the same transaction that stores the new ones.
        store_.replaceIndexItems(bookmark.id, embedded.items, chosen.embeddingModel);
    } catch (...) {
        for (const auto& item : embedded.items) chosen.index->removeItem(item.id);
        throw;
    }
    std::lock_guard lock(mutex_);
    for (const auto& row : oldRows) {
        if (auto index = routedIndex(row.embeddingModel)) index->removeItem(row.id);
    }
    embeddings_ = std::move(embedded.embeddings);
    markIndexed(bookmark.id);
    setDocumentModel(bookmark.id, chosen.embeddingModel);
    return Outcome::processed;
}

std::shared_ptr<SimilarityIndex> ChatIndexer::routedIndex(const std::string& embeddingModel) const {
    if (embeddingModel == adaModelName && openaiIndex_) return openaiIndex_;
    if (embeddingModel == embedding3SmallModelName && openaiIndexNew_) return openaiIndexNew_;
    return localIndex_;
}

std::vector<std::string> ChatIndexer::loadRows(const std::vector<Bookmark>& indexed) {
    std::vector<std::string> reasons;
    for (const auto& bookmark : indexed) {
        try {
            loadRowsOf(bookmark);
        } catch (const std::exception& error) {
            // A document whose rows cannot be read shows why; the chat
            // answers from the others.
            std::lock_guard lock(mutex_);
            reasons.push_back(error.what());
            setDocumentState(bookmark.id, IndexingState::failed, error.what());
            publish();
        }
    }
    return reasons;
}

void ChatIndexer::loadRowsOf(const Bookmark& bookmark) {
    std::vector<IndexItemExtra> rows = store_.indexItems(bookmark.id);
    std::map<std::shared_ptr<SimilarityIndex>, std::vector<IndexItem>> byIndex;
    {
        std::lock_guard lock(mutex_);
        if (!rows.empty()) setDocumentModel(bookmark.id, rows.front().embeddingModel);
        for (auto& row : rows) {
            auto index = routedIndex(row.embeddingModel);
            if (!index) continue;  // unloaded meanwhile
            byIndex[index].push_back(IndexItem{std::move(row.id), std::move(row.text),
                                               std::move(row.embedding), std::move(row.metadata)});
        }
    }
    for (const auto& [index, items] : byIndex) index->addItems(items);
}

void ChatIndexer::tagDocuments(const IndexingSettings& settings,
                               const std::vector<int64_t>& bookmarkIds) {
    std::vector<std::string> urls;
    {
        std::lock_guard lock(mutex_);
        for (int64_t id : bookmarkIds) {
            for (const auto& document : state_.documents) {
                if (document.bookmark.id == id) urls.push_back(document.fileUrl);
            }
        }
    }
    for (const auto& url : urls) {
        try {
            const auto path = pathFromFileUrl(url);
            if (!path) throw FileError("“" + url + "” is not a file on this computer");
            std::vector<std::string> tags = fileTags_.tags(*path);
            if (std::find(tags.begin(), tags.end(), settings.defaultFinderTag) == tags.end()) {
                tags.push_back(settings.defaultFinderTag);
            }
            fileTags_.setTags(*path, tags);
        } catch (const std::exception& error) {
            // Tags are a convenience for the file manager: a file system that
            // keeps no extended attributes (FAT, ramfs, some network shares)
            // costs that file its tag, not its index, and the other files of
            // the chat are still tagged.
            log(std::string("Not tagged: ") + error.what());
        }
    }
}

void ChatIndexer::unloadIndex() {
    std::lock_guard lock(mutex_);
    indexingTask_.request_stop();
    localIndex_.reset();
    openaiIndex_.reset();
    openaiIndexNew_.reset();
    // Without indexes the chat is no longer loaded, so that the next loadIndex
    // builds them again.
    if (state_.loadingState == LoadingState::loaded) {
        state_.loadingState = LoadingState::none;
        publish();
    }
}

void ChatIndexer::rebuildIndex(int64_t bookmarkId, bool forceOCR) {
    startRebuild(bookmarkId, forceOCR, false);
}

void ChatIndexer::setCustomModelId(int64_t customModelId) {
    std::lock_guard lock(mutex_);
    customModelId_ = customModelId;
}

void ChatIndexer::wait() {
    std::jthread task;
    {
        std::lock_guard lock(mutex_);
        task = std::move(indexingTask_);
    }
    if (task.joinable()) task.join();
}

IndexingUpdate ChatIndexer::state() const {
    std::lock_guard lock(mutex_);
    return state_;
}

ChatIndexes ChatIndexer::indexes() const {
    std::lock_guard lock(mutex_);
    return {localIndex_, openaiIndex_, openaiIndexNew_};
}

std::vector<Bookmark> ChatIndexer::bookmarks() const {
    std::lock_guard lock(mutex_);
    return bookmarks_;
}

std::map<int64_t, std::string> ChatIndexer::firstPageContentMap() const {
    std::lock_guard lock(mutex_);
    return firstPageContentMap_;
}

}  // namespace folvane
