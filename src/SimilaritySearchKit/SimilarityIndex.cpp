#include "SimilaritySearchKit/SimilarityIndex.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <stdexcept>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/JsonStore.h"
#include "platform/Log.h"

namespace folvane {

namespace {

constexpr int defaultTop = 5;

// At most this many encodings of one addItems call run at once.
std::size_t addWorkerCount(std::size_t items) {
    const std::size_t cores = std::max(4u, std::thread::hardware_concurrency());
    return std::min(items, cores);
}

}  // namespace

SimilarityIndex::SimilarityIndex(std::string name, std::shared_ptr<EmbeddingsProtocol> model,
                                 std::shared_ptr<const DistanceMetricProtocol> metric,
                                 std::shared_ptr<VectorStoreProtocol> vectorStore)
    : model_(std::move(model)),
      vectorStore_(vectorStore ? std::move(vectorStore) : std::make_shared<JsonStore>()),
      name_(std::move(name)),
      metric_(metric ? std::move(metric) : std::make_shared<CosineSimilarity>()) {
    if (!model_) throw std::invalid_argument("SimilarityIndex needs an embedding model");
    if (const auto test = model_->encode("Test sentence")) {
        dimension_ = static_cast<int>(test->size());
    } else {
        log("Failed to generate a test input vector.");
    }
}

SimilarityIndex::SimilarityIndex(std::shared_ptr<EmbeddingsProtocol> model)
    : SimilarityIndex(defaultName, std::move(model)) {}

SimilarityIndex::~SimilarityIndex() {
    waitForPendingLoads();
}

std::vector<IndexItem> SimilarityIndex::indexItems() const {
    std::shared_lock lock(mutex_);
    return items_;
}

void SimilarityIndex::setIndexItems(std::vector<IndexItem> items) {
    std::unique_lock lock(mutex_);
    items_ = std::move(items);
    reindexIds();
}

void SimilarityIndex::modifyIndexItems(const std::function<void(std::vector<IndexItem>&)>& change) {
    std::unique_lock lock(mutex_);
    change(items_);
    reindexIds();
}

void SimilarityIndex::append(IndexItem item) {
    firstPositions_.try_emplace(item.id, items_.size());
    items_.push_back(std::move(item));
}

void SimilarityIndex::reindexIds() {
    firstPositions_.clear();
    for (std::size_t position = 0; position < items_.size(); ++position) {
        firstPositions_.try_emplace(items_[position].id, position);
    }
}

int SimilarityIndex::dimension() const {
    return dimension_;
}

std::string SimilarityIndex::indexName() const {
    std::shared_lock lock(mutex_);
    return name_;
}

void SimilarityIndex::setIndexName(std::string name) {
    std::unique_lock lock(mutex_);
    name_ = std::move(name);
}

std::shared_ptr<const DistanceMetricProtocol> SimilarityIndex::indexMetric() const {
    std::shared_lock lock(mutex_);
    return metric_;
}

void SimilarityIndex::setIndexMetric(std::shared_ptr<const DistanceMetricProtocol> metric) {
    if (!metric) throw std::invalid_argument("SimilarityIndex needs a metric");
    std::unique_lock lock(mutex_);
    metric_ = std::move(metric);
}

SimilarityIndex::Vector SimilarityIndex::getEmbedding(const std::string& text,
                                                      const std::optional<Vector>& vector) const {
    if (vector && vector->size() == static_cast<std::size_t>(dimension_)) return *vector;
    if (auto encoded = model_->encode(text)) return std::move(*encoded);
    log("Failed to encode text. " + text);
    return Vector(static_cast<std::size_t>(dimension_), 0.0f);
}

void SimilarityIndex::addItem(std::string id, std::string text, Metadata metadata,
                              const std::optional<Vector>& vector) {
    IndexItem item{std::move(id), std::move(text), {}, std::move(metadata)};
    item.embedding = getEmbedding(item.text, vector);
    std::unique_lock lock(mutex_);
    append(std::move(item));
}

void SimilarityIndex::addItems(const std::vector<std::string>& ids,
                               const std::vector<std::string>& texts,
                               const std::vector<Metadata>& metadata,
                               std::optional<std::span<const std::optional<Vector>>> embeddings,
                               const std::function<void(const std::string& id)>& onProgress) {
    if (ids.size() != texts.size() || ids.size() != metadata.size()) {
        throw std::invalid_argument("Input arrays must have the same length.");
    }
    if (embeddings && embeddings->size() != ids.size()) {
        log("Embeddings array length must be the same as ids array length. " +
            std::to_string(embeddings->size()) + " vs " + std::to_string(ids.size()));
    }
    std::atomic<std::size_t> next = 0;
    auto work = [&] {
        for (std::size_t i = next++; i < ids.size(); i = next++) {
            std::optional<Vector> given;
            if (embeddings && i < embeddings->size()) given = (*embeddings)[i];
            addItem(ids[i], texts[i], metadata[i], given);
            if (onProgress) onProgress(ids[i]);
        }
    };
    std::vector<std::jthread> workers;
    const std::size_t count = addWorkerCount(ids.size());
    for (std::size_t w = 1; w < count; ++w) workers.emplace_back(work);
    work();
}

void SimilarityIndex::addItems(const std::vector<IndexItem>& items,
                               const std::function<void()>& completion) {
    for (const auto& item : items) {
        IndexItem copy = item;
        if (copy.embedding.size() != static_cast<std::size_t>(dimension_)) {
            copy.embedding = getEmbedding(copy.text);
        }
        std::unique_lock lock(mutex_);
        append(std::move(copy));
    }
    if (completion) completion();
}

std::optional<IndexItem> SimilarityIndex::getItem(const std::string& id) const {
    std::shared_lock lock(mutex_);
    const auto found = firstPositions_.find(id);
    if (found == firstPositions_.end()) return std::nullopt;
    return items_[found->second];
}

std::vector<IndexItem> SimilarityIndex::sample(int count) const {
    std::shared_lock lock(mutex_);
    const std::size_t taken = std::min(items_.size(), static_cast<std::size_t>(std::max(count, 0)));
    return std::vector<IndexItem>(items_.begin(), items_.begin() + taken);
}

void SimilarityIndex::updateItem(const std::string& id, const std::optional<std::string>& text,
                                 const std::optional<Vector>& vector,
                                 const std::optional<Metadata>& metadata) {
    if (vector && vector->size() != static_cast<std::size_t>(dimension_)) {
        log("Dimension mismatch, expected " + std::to_string(dimension_) + ", saw " +
            std::to_string(vector->size()));
    }
    std::unique_lock lock(mutex_);
    const auto found = firstPositions_.find(id);
    if (found == firstPositions_.end()) return;
    IndexItem& item = items_[found->second];
    if (text) item.text = *text;
    if (vector) item.embedding = *vector;
    if (metadata) item.metadata = *metadata;
}

void SimilarityIndex::removeItem(const std::string& id) {
    std::unique_lock lock(mutex_);
    if (!firstPositions_.contains(id)) return;
    std::erase_if(items_, [&](const IndexItem& item) { return item.id == id; });
    reindexIds();
}

void SimilarityIndex::removeAll() {
    std::unique_lock lock(mutex_);
    items_.clear();
    firstPositions_.clear();
}

std::int64_t SimilarityIndex::estimatedSizeInBytes() const {
    std::shared_lock lock(mutex_);
    std::int64_t size = 0;
    for (const auto& item : items_) {
        size += static_cast<std::int64_t>(item.id.size() + item.text.size() +
                                          4 * item.embedding.size());
        for (const auto& [key, value] : item.metadata) {
            size += static_cast<std::int64_t>(key.size() + value.size());
        }
    }
    return size;
}

std::vector<SearchResult> SimilarityIndex::search(
    const std::string& query, std::optional<int> top,
    std::shared_ptr<const DistanceMetricProtocol> metric) {
    const auto queryVector = model_->encode(query);
    if (!queryVector) {
        log("Failed to generate query embedding for '" + query + "'.");
        return {};
    }
    if (metric) setIndexMetric(metric);

    // The scan reads the vectors in place, the list held still for its length.
    std::vector<ScoredPosition> nearest;
    std::vector<std::string> ids;
    {
        std::shared_lock lock(mutex_);
        std::vector<std::span<const float>> vectors;
        vectors.reserve(items_.size());
        for (const auto& item : items_) vectors.emplace_back(item.embedding);
        nearest = metric_->findNearest(*queryVector, vectors, top.value_or(defaultTop));
        ids.reserve(nearest.size());
        for (const auto& [score, position] : nearest) ids.push_back(items_[position].id);
    }

    // The list may have changed since the scan: each hit is looked up again by its id.
    std::vector<SearchResult> results;
    results.reserve(nearest.size());
    std::shared_lock lock(mutex_);
    for (std::size_t i = 0; i < nearest.size(); ++i) {
        const auto found = firstPositions_.find(ids[i]);
        if (found == firstPositions_.end()) {
            log("Failed to find item with id '" + ids[i] + "' in indexItems.");
            results.push_back(SearchResult{"000000", 0, "fail", {}});
            continue;
        }
        const IndexItem& item = items_[found->second];
        results.push_back(SearchResult{item.id, nearest[i].first, item.text, item.metadata});
    }
    return results;
}

std::string SimilarityIndex::combinedResultsString(const std::vector<SearchResult>& results) const {
    std::string combined;
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (i > 0) combined += "\n\n";
        combined += results[i].text + "\n";
        bool first = true;
        for (const auto& [key, value] : results[i].metadata) {
            if (!first) combined += "\n";
            first = false;
            std::string upper = key;
            std::transform(upper.begin(), upper.end(), upper.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
            combined += upper + ": " + value;
        }
    }
    return combined;
}

std::string SimilarityIndex::exportLLMPrompt(const std::string& query,
                                             const std::vector<SearchResult>& results) const {
    return "Given the following extracted parts of a long document and a question, create a final "
           "answer with references (\"SOURCES\").\nIf you don't know the answer, just say that you "
           "don't know. Don't try to make up an answer.\nALWAYS return a \"SOURCES\" part in your "
           "answer.\n\nQUESTION: " +
           query + "\n=========\n" + combinedResultsString(results) + "\n=========\nFINAL ANSWER:";
}

std::filesystem::path SimilarityIndex::saveIndex(const std::filesystem::path& directory,
                                                 const std::optional<std::string>& name) {
    std::filesystem::create_directories(directory);
    const auto items = indexItems();
    const auto file = vectorStore_->saveIndex(items, directory, name.value_or(indexName()));
    log("Saved " + std::to_string(items.size()) + " index items to " + file.string());
    return file;
}

std::optional<std::vector<IndexItem>> SimilarityIndex::loadIndex(
    const std::filesystem::path& directory, const std::optional<std::string>& name) {
    std::filesystem::create_directories(directory);
    const std::string wanted = name.value_or(indexName());
    const auto files = vectorStore_->listIndexes(directory);
    const auto file = std::find_if(files.begin(), files.end(), [&](const auto& path) {
        return path.filename().string().find(wanted) != std::string::npos;
    });
    if (file == files.end()) return std::nullopt;

    auto items = vectorStore_->loadIndex(*file);
    std::scoped_lock lock(loadsMutex_);
    loads_.emplace_back([this, items, path = *file] {
        addItems(items, [&] {
            log("Loaded " + std::to_string(items.size()) + " index items from " + path.string());
        });
    });
    return items;
}

void SimilarityIndex::waitForPendingLoads() {
    std::vector<std::jthread> loads;
    {
        std::scoped_lock lock(loadsMutex_);
        loads.swap(loads_);
    }
    loads.clear();  // joins
}

}  // namespace folvane
