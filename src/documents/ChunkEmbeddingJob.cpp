#include "documents/ChunkEmbeddingJob.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/Log.h"
#include "platform/Uuid.h"
#include "store/JsonText.h"

namespace folvane {

namespace {

struct BatchResult {
    std::vector<std::vector<float>> embeddings;
    std::vector<IndexItem> newIndexItems;
    int failureCount = 0;
    int processedCount = 0;
};

constexpr int maxFailuresPerBatch = 5;

std::string metadataText(const std::map<std::string, std::string>& metadata) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const auto& [key, value] : metadata) object[key] = value;
    return compactJson(object);
}

std::optional<BatchResult> runBatch(const std::vector<Document>& chunks, size_t start, size_t end,
                                    const ChunkEmbeddingJob& job, const std::stop_token& stop) {
    BatchResult result;
    for (size_t i = start; i < end; ++i) {
        if (stop.stop_requested()) return std::nullopt;
        const Document& chunk = chunks[i];
        std::string text = redactSensitiveContent(chunk.pageContent, job.redaction);
        if (text.empty()) continue;
        auto vector = job.model->encode(text);
        if (!vector) {
            log("Failed to vectorize, document " + metadataText(chunk.metadata));
            if (++result.failureCount > maxFailuresPerBatch) return std::nullopt;
            continue;
        }
        const std::string id = newUuid();
        std::map<std::string, std::string> metadata{{"bookmarkId", job.bookmarkIdText},
                                                    {"page", storedPageValue(chunk.metadata)}};
        job.index->addItem(id, text, metadata, *vector);
        // The index keeps the vector as given when it has the index's dimension,
        // else its own encoding: take the item as the index holds it.
        auto added = job.index->getItem(id);
        result.newIndexItems.push_back(
            added ? std::move(*added)
                  : IndexItem{id, std::move(text), *vector, std::move(metadata)});
        result.embeddings.push_back(std::move(*vector));
        ++result.processedCount;
    }
    return result;
}

}  // namespace

std::string storedPageValue(const std::map<std::string, std::string>& chunkMetadata) {
    const auto page = chunkMetadata.find("page");
    if (page == chunkMetadata.end()) return "";
    if (page->second.empty() || page->second == "nil") return "nil";
    return "Optional(" + page->second + ")";
}

size_t chunkBatchSize(size_t chunkCount, int parallelTasks) {
    const size_t tasks = size_t(std::max(1, parallelTasks));
    return std::max<size_t>(1, (chunkCount + tasks - 1) / tasks);
}

std::optional<EmbeddedChunks> embedChunks(const std::vector<Document>& chunks,
                                          const ChunkEmbeddingJob& job, std::stop_token stop) {
    const size_t batch = chunkBatchSize(chunks.size(), job.parallelTasks);

    std::mutex mutex;
    std::condition_variable finished;
    std::deque<std::optional<BatchResult>> results;
    size_t started = 0;
    std::vector<std::jthread> children;
    for (size_t start = 0; start < chunks.size(); start += batch) {
        const size_t end = std::min(chunks.size(), start + batch);
        ++started;
        children.emplace_back([&, start, end] {
            auto result = runBatch(chunks, start, end, job, stop);
            std::lock_guard lock(mutex);
            results.push_back(std::move(result));
            finished.notify_one();
        });
    }

    EmbeddedChunks embedded;
    int processed = 0;
    bool failed = false;
    for (size_t taken = 0; taken < started; ++taken) {
        std::optional<BatchResult> result;
        {
            std::unique_lock lock(mutex);
            finished.wait(lock, [&] { return !results.empty(); });
            result = std::move(results.front());
            results.pop_front();
        }
        if (!result) {
            failed = true;
            break;
        }
        processed += result->processedCount;
        for (auto& vector : result->embeddings) embedded.embeddings.push_back(std::move(vector));
        for (auto& item : result->newIndexItems) embedded.items.push_back(std::move(item));
        if (job.onProgress) job.onProgress(processed);
    }
    children.clear();  // the batches still running finish before the result is given
    if (failed) return std::nullopt;
    return embedded;
}

}  // namespace folvane
