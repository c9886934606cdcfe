#include "documents/ChunkEmbeddingJob.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

#include "documents/DocumentError.h"
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
    bool failed = false;   // more failures than a batch may have
    bool stopped = false;  // a stop was requested
    std::exception_ptr lastError;
};

constexpr int maxFailuresPerBatch = 5;

std::string metadataText(const std::map<std::string, std::string>& metadata) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const auto& [key, value] : metadata) object[key] = value;
    return compactJson(object);
}

BatchResult runBatch(const std::vector<Document>& chunks, size_t start, size_t end,
                     const ChunkEmbeddingJob& job, const std::stop_token& stop) {
    BatchResult result;
    for (size_t i = start; i < end; ++i) {
        if (stop.stop_requested()) {
            result.stopped = true;
            return result;
        }
        const Document& chunk = chunks[i];
        std::string text = redactSensitiveContent(chunk.pageContent, job.redaction);
        if (text.empty()) continue;
        std::optional<std::vector<float>> vector;
        try {
            vector = job.model->encode(text);
        } catch (...) {
            result.lastError = std::current_exception();
        }
        if (!vector) {
            // A few chunks without vector leave the document usable; their
            // text is only missing from the answers.
            log("Failed to vectorize, document " + metadataText(chunk.metadata));
            if (++result.failureCount > maxFailuresPerBatch) {
                result.failed = true;
                return result;
            }
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

EmbeddedChunks embedChunks(const std::vector<Document>& chunks, const ChunkEmbeddingJob& job,
                           std::stop_token stop) {
    const size_t batch = chunkBatchSize(chunks.size(), job.parallelTasks);

    std::mutex mutex;
    std::condition_variable finished;
    std::deque<BatchResult> results;
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
    std::optional<BatchResult> broken;
    for (size_t taken = 0; taken < started; ++taken) {
        BatchResult result;
        {
            std::unique_lock lock(mutex);
            finished.wait(lock, [&] { return !results.empty(); });
            result = std::move(results.front());
            results.pop_front();
        }
        processed += result.processedCount;
        for (auto& vector : result.embeddings) embedded.embeddings.push_back(std::move(vector));
        for (auto& item : result.newIndexItems) embedded.items.push_back(std::move(item));
        if (result.failed || result.stopped) {
            broken = std::move(result);
            break;
        }
        if (job.onProgress) job.onProgress(processed);
    }
    children.clear();  // the batches still running finish before the result is given
    if (!broken) return embedded;

    // A document that does not finish leaves nothing behind in the index.
    for (auto& rest : results) {
        for (auto& item : rest.newIndexItems) embedded.items.push_back(std::move(item));
    }
    for (const auto& item : embedded.items) job.index->removeItem(item.id);
    if (broken->stopped) return EmbeddedChunks{{}, {}, true};
    if (broken->lastError) std::rethrow_exception(broken->lastError);
    throw DocumentError("The text of the document could not be turned into vectors.");
}

}  // namespace folvane
