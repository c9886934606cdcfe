#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "SimilaritySearchKit/Document.h"
#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "store/IndexItem.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "documents/Redaction.h"

namespace folvane {

// The page of a chunk as its stored item carries it: "Optional(12)" for page
// 12, "nil" for a page without number, "" when the chunk has no page at all.
std::string storedPageValue(const std::map<std::string, std::string>& chunkMetadata);

// The chunks one child task takes: the count divided by the tasks, rounded up,
// and at least 1 (tasks below 1 count as 1).
size_t chunkBatchSize(size_t chunkCount, int parallelTasks);

// The vectors and the items of one document's chunks, in the order in which
// their batches finished.
struct EmbeddedChunks {
    std::vector<std::vector<float>> embeddings;
    std::vector<IndexItem> items;
};

// What embedChunks needs besides the chunks.
struct ChunkEmbeddingJob {
    std::string bookmarkIdText;  // the metadata value "bookmarkId" of each item
    SimilarityIndex* index = nullptr;
    EmbeddingsProtocol* model = nullptr;
    int parallelTasks = 5;
    RedactionOptions redaction;
    // Called on the calling thread after each finished batch with the number of
    // chunks embedded so far.
    std::function<void(int processed)> onProgress;
};

// Redacts and embeds the chunks in consecutive batches, one thread each, and
// adds each chunk to the index as soon as it has its vector. A chunk without
// vector is logged and left out, but more than five of them in one batch, or a
// stop request, fail the whole document: nothing is returned, though the items
// already added stay in the index.
std::optional<EmbeddedChunks> embedChunks(const std::vector<Document>& chunks,
                                          const ChunkEmbeddingJob& job, std::stop_token stop);

}  // namespace folvane
