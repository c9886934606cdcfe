#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "SimilaritySearchKit/DistanceMetricProtocol.h"
#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "SimilaritySearchKit/SearchResult.h"
#include "SimilaritySearchKit/VectorStoreProtocol.h"
#include "store/IndexItem.h"

namespace folvane {

// An in-memory list of texts with one vector each, searched by a full scan
// under a pluggable metric.
//
// Every operation may be called from any thread. Changes of the list are
// serialised and each is atomic against a scan; encodings run outside of that
// serialisation, so parallel adds overlap in their slow step.
class SimilarityIndex {
  public:
    using IndexItem = folvane::IndexItem;
    using SearchResult = folvane::SearchResult;
    using Vector = std::vector<float>;
    using Metadata = std::map<std::string, std::string>;

    // Names of this module's options; construction takes the objects themselves.
    enum class EmbeddingModelType { distilbert, minilmAll, minilmMultiQA, native };
    enum class SimilarityMetricType { dotproduct, cosine, euclidian };
    enum class TextSplitterType { token, character, recursive };
    enum class VectorStoreType { json };

    static constexpr const char* defaultName = "SimilaritySearchKitIndex";

    // Encodes "Test sentence" once to learn the dimension (0 if that fails).
    // The metric defaults to CosineSimilarity, the store to JsonStore.
    SimilarityIndex(std::string name, std::shared_ptr<EmbeddingsProtocol> model,
                    std::shared_ptr<const DistanceMetricProtocol> metric = nullptr,
                    std::shared_ptr<VectorStoreProtocol> vectorStore = nullptr);
    explicit SimilarityIndex(std::shared_ptr<EmbeddingsProtocol> model);
    // Waits for the additions that loadIndex started.
    virtual ~SimilarityIndex();

    SimilarityIndex(const SimilarityIndex&) = delete;
    SimilarityIndex& operator=(const SimilarityIndex&) = delete;

    virtual std::vector<IndexItem> indexItems() const;
    virtual void setIndexItems(std::vector<IndexItem> items);
    // Runs `change` on the list with every other reader and writer held off.
    virtual void modifyIndexItems(const std::function<void(std::vector<IndexItem>&)>& change);
    virtual int dimension() const;
    virtual std::string indexName() const;
    virtual void setIndexName(std::string name);
    virtual std::shared_ptr<const DistanceMetricProtocol> indexMetric() const;
    virtual void setIndexMetric(std::shared_ptr<const DistanceMetricProtocol> metric);

    // A given vector of exactly `dimension` elements as it stands; else the
    // encoding of the text; else a zero vector of `dimension` elements.
    virtual Vector getEmbedding(const std::string& text,
                                const std::optional<Vector>& vector = std::nullopt) const;

    void addItem(std::string id, std::string text, Metadata metadata,
                 const std::optional<Vector>& vector = std::nullopt);
    // Adds the items in parallel; the list then holds them in the order their
    // encodings finished. `onProgress(id)` is called after each, from the
    // worker threads. Throws std::invalid_argument if the three arrays differ
    // in length.
    void addItems(const std::vector<std::string>& ids, const std::vector<std::string>& texts,
                  const std::vector<Metadata>& metadata,
                  std::optional<std::span<const std::optional<Vector>>> embeddings = std::nullopt,
                  const std::function<void(const std::string& id)>& onProgress = {});
    // Appends in order, encoding again each item whose vector is not `dimension` long.
    void addItems(const std::vector<IndexItem>& items,
                  const std::function<void()>& completion = {});

    // The first item with this id.
    std::optional<IndexItem> getItem(const std::string& id) const;
    std::vector<IndexItem> sample(int count) const;
    // Replaces the given fields of the first item with this id.
    void updateItem(const std::string& id, const std::optional<std::string>& text = std::nullopt,
                    const std::optional<Vector>& vector = std::nullopt,
                    const std::optional<Metadata>& metadata = std::nullopt);
    // Removes every item with this id.
    void removeItem(const std::string& id);
    void removeAll();
    std::int64_t estimatedSizeInBytes() const;

    // The `top` (default 5) nearest items to the query. A given metric becomes
    // the index's metric for later searches too.
    virtual std::vector<SearchResult> search(
        const std::string& query, std::optional<int> top = std::nullopt,
        std::shared_ptr<const DistanceMetricProtocol> metric = nullptr);
    virtual std::string combinedResultsString(const std::vector<SearchResult>& results) const;
    virtual std::string exportLLMPrompt(const std::string& query,
                                        const std::vector<SearchResult>& results) const;

    // Writes the items to a file in `directory` (made with its parents when
    // absent), named `name`, by default `indexName`. The caller names the
    // directory: the index knows no place of its own. Throws on a file error.
    std::filesystem::path saveIndex(const std::filesystem::path& directory,
                                    const std::optional<std::string>& name = std::nullopt);
    // The read side of saveIndex (and of `folvane-cli export-index --format
    // json`): no flow of the application reads an index file, its indexes are
    // filled from the store; this stays so that a written file can be read
    // back into an index.
    // Reads the first index file whose name contains `name` and adds its items
    // on a background thread, without waiting; gives the items read, or nothing
    // when no file matched. Throws on a file error.
    std::optional<std::vector<IndexItem>> loadIndex(
        const std::filesystem::path& directory,
        const std::optional<std::string>& name = std::nullopt);
    void waitForPendingLoads();

  private:
    // Both with the lock held exclusively.
    void append(IndexItem item);
    void reindexIds();

    const std::shared_ptr<EmbeddingsProtocol> model_;
    const std::shared_ptr<VectorStoreProtocol> vectorStore_;
    int dimension_ = 0;

    mutable std::shared_mutex mutex_;  // guards the four fields below
    std::vector<IndexItem> items_;
    // The position of the first item with each id, kept with every change, so
    // that reading an item by id costs no scan of the list.
    std::unordered_map<std::string, std::size_t> firstPositions_;
    std::string name_;
    std::shared_ptr<const DistanceMetricProtocol> metric_;

    std::mutex loadsMutex_;
    std::vector<std::jthread> loads_;
};

}  // namespace folvane
