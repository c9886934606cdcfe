#include "documents/ChatIndexer.h"

#include <algorithm>
#include <exception>

#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/CustomTokenSplitter.h"
#include "chat/ChatService.h"
#include "documents/ChunkEmbeddingJob.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "platform/FileBookmark.h"
#include "platform/FileTagStore.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

constexpr const char* adaModelName = "text-embedding-ada-002";
constexpr const char* embedding3SmallModelName = "text-embedding-3-small";

// The bookmarks in the order of the ids; ids without a row are left out.
std::vector<Bookmark> inIdOrder(std::vector<Bookmark> rows, const std::vector<int64_t>& ids) {
    std::vector<Bookmark> ordered;
    for (int64_t id : ids) {
        auto row =
            std::find_if(rows.begin(), rows.end(), [&](const Bookmark& b) { return b.id == id; });
        if (row != rows.end()) ordered.push_back(*row);
    }
    return ordered;
}

std::shared_ptr<SimilarityIndex> makeIndex(const std::string& name,
                                           std::shared_ptr<EmbeddingsProtocol> model) {
    return std::make_shared<SimilarityIndex>(name, std::move(model),
                                             std::make_shared<CosineSimilarity>());
}

}  // namespace

ChatIndexer::ChatIndexer(const Conversation& conversation, ChatIndexerDependencies dependencies,
                         Listener listener)
    : service_(dependencies.service),
      preferences_(dependencies.preferences),
      embedders_(std::move(dependencies.embedders)),
      fileTags_(dependencies.fileTags),
      resourceDirectory_(std::move(dependencies.resourceDirectory)),
      makeRecognizer_(std::move(dependencies.makeRecognizer)),
      listener_(std::move(listener)),
      conversationId_(conversation.id),
      customModelId_(conversation.customModelId),
      extraBookmarkIds_(conversation.extraBookmarkIds) {
    const std::vector<int64_t> ids = conversation.allBookmarkIds();
    bookmarks_ = inIdOrder(service_.getBookmarks(ids), ids);
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
    if (listener_) listener_(state_);
}

void ChatIndexer::setDocumentState(int64_t bookmarkId, IndexingState indexingState) {
    for (auto& document : state_.documents) {
        if (document.bookmark.id == bookmarkId) document.indexingState = indexingState;
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

        service_.updateUpdatedAt(conversationId_, now());
        // The statuses are read anew: after a failed chain, the documents that
        // were finished before the failure are loaded, not embedded again.
        for (auto& bookmark : bookmarks_) {
            if (auto row = service_.getBookmark(bookmark.id)) {
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
        remote = !openaiIndex_ && customModelId_ == 0 && settings.hasOpenAIKey &&
                 bool(embedders_.remote);
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
    for (int i = 0; i < total; ++i) {
        const Bookmark& bookmark = toIndex[size_t(i)];
        {
            std::lock_guard lock(mutex_);
            setDocumentState(bookmark.id, IndexingState::indexing);
            publish();
        }
        const bool done = processDocument(stop, settings, bookmark, i + 1, total, false);
        std::lock_guard lock(mutex_);
        setDocumentState(bookmark.id, done ? IndexingState::indexed : IndexingState::failed);
        if (!done) {
            if (!extra) {
                state_.loadingFailReason = failReason;
                state_.loadingState = LoadingState::failed;
            }
            publish();
            return;
        }
        publish();
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
    loadRows(indexed);
    if (stop.stop_requested()) return abandon(extra);
    std::lock_guard lock(mutex_);
    state_.loadingState = LoadingState::loaded;
    publish();
}

void ChatIndexer::abandon(bool extra) {
    // A chain stopped between its steps leaves the chat to the next loadIndex.
    if (extra) return;
    std::lock_guard lock(mutex_);
    state_.loadingState = LoadingState::none;
    publish();
}

ChatIndexer::ChosenIndex ChatIndexer::chooseIndex(const IndexingSettings& settings,
                                                  int pageCount) const {
    std::lock_guard lock(mutex_);
    const ChosenIndex local{localIndex_, localModel_, ""};
    const ChosenIndex remote{openaiIndexNew_, openaiNewModel_, embedding3SmallModelName};
    if (!openaiIndex_ && !openaiIndexNew_) return local;
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

bool ChatIndexer::processDocument(std::stop_token stop, const IndexingSettings& settings,
                                  const Bookmark& bookmark, int position, int total,
                                  bool forceOCR) {
    const auto path = pathFromFileUrl(bookmark.filePath);
    std::shared_ptr<const BertTokenizer> tokenizer;
    try {
        tokenizer = std::make_shared<const BertTokenizer>(resourceDirectory_);
    } catch (const std::exception& error) {
        log(error.what());
        return false;
    }
    const CustomTokenSplitter splitter(tokenizer);
    auto pdf = path ? PdfDocument::open(*path) : nullptr;
    if (!pdf) {
        log("Failed to load PDF document.");
        return false;
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
    const ChosenIndex chosen = chooseIndex(settings, pdf->pageCount());
    if (!chosen.index || !chosen.model) return false;  // the indexes were unloaded

    const PdfTextExtractor extractor = makeRecognizer_
                                           ? PdfTextExtractor(settings.ocr, makeRecognizer_)
                                           : PdfTextExtractor(settings.ocr);
    const std::vector<Document> pages = extractor.extractPages(*pdf, scanned, forceOCR, stop);
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
    auto embedded = embedChunks(chunks, job, stop);
    if (!embedded) return false;

    try {
        // Rows left by an interrupted run are dropped first, so a document never
        // has two sets; its status is not "indexed" until the new rows are in.
        service_.deleteIndexItems(bookmark.id);
        service_.saveIndexItems(embedded->items, chosen.embeddingModel, bookmark.id);
    } catch (const std::exception& error) {
        log(std::string("Cannot save index items wtf ") + error.what());
        return false;
    }
    std::lock_guard lock(mutex_);
    embeddings_ = std::move(embedded->embeddings);
    markIndexed(bookmark.id);
    return true;
}

std::shared_ptr<SimilarityIndex> ChatIndexer::routedIndex(const std::string& embeddingModel) const {
    if (embeddingModel == adaModelName && openaiIndex_) return openaiIndex_;
    if (embeddingModel == embedding3SmallModelName && openaiIndexNew_) return openaiIndexNew_;
    return localIndex_;
}

void ChatIndexer::loadRows(const std::vector<Bookmark>& indexed) {
    for (const auto& bookmark : indexed) {
        std::vector<IndexItemExtra> rows;
        try {
            rows = service_.getIndexItems(bookmark.id);
        } catch (const std::exception& error) {
            log(error.what());
            continue;
        }
        std::map<std::shared_ptr<SimilarityIndex>, std::vector<IndexItem>> byIndex;
        {
            std::lock_guard lock(mutex_);
            for (auto& row : rows) {
                auto index = routedIndex(row.embeddingModel);
                if (!index) continue;  // unloaded meanwhile
                byIndex[index].push_back(IndexItem{std::move(row.id), std::move(row.text),
                                                   std::move(row.embedding),
                                                   std::move(row.metadata)});
            }
        }
        for (const auto& [index, items] : byIndex) index->addItems(items);
    }
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
    try {
        for (const auto& url : urls) {
            const auto path = pathFromFileUrl(url);
            if (!path) throw FileError("“" + url + "” is not a file on this computer");
            std::vector<std::string> tags = fileTags_.tags(*path);
            if (std::find(tags.begin(), tags.end(), settings.defaultFinderTag) == tags.end()) {
                tags.push_back(settings.defaultFinderTag);
            }
            fileTags_.setTags(*path, tags);
        }
    } catch (const std::exception& error) {
        log(error.what());
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
    const IndexingSettings settings = IndexingSettings::from(preferences_);
    Bookmark bookmark;
    {
        std::lock_guard lock(mutex_);
        auto found = std::find_if(bookmarks_.begin(), bookmarks_.end(),
                                  [&](const Bookmark& b) { return b.id == bookmarkId; });
        if (found == bookmarks_.end() || !localIndex_) return;
        if (state_.loadingState == LoadingState::indexing ||
            state_.loadingState == LoadingState::indexingExtra) {
            return;
        }
        if (bookmarks_.size() == 1) state_.loadingState = LoadingState::indexingExtra;
        try {
            for (const auto& row : service_.getIndexItems(bookmarkId)) {
                if (auto index = routedIndex(row.embeddingModel)) index->removeItem(row.id);
            }
            service_.deleteIndexItems(bookmarkId);
            service_.updateIndexingStatus(bookmarkId, "none");
        } catch (const std::exception& error) {
            log(error.what());
            publish();
            return;
        }
        found->indexingStatus = "none";
        bookmark = *found;
        setDocumentState(bookmarkId, IndexingState::indexing);
        publish();
    }
    startTask([this, settings, bookmark, forceOCR](std::stop_token stop) {
        const bool done = processDocument(stop, settings, bookmark, 1, 1, forceOCR);
        std::lock_guard lock(mutex_);
        setDocumentState(bookmark.id, done ? IndexingState::indexed : IndexingState::failed);
        state_.indexingProgress = 99;
        state_.loadingState = LoadingState::loaded;
        publish();
    });
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
