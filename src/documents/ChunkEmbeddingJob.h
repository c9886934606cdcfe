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
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "documents/Redaction.h"
#include "store/IndexItem.h"

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
    bool stopped = false;  // a stop request ended the work; nothing is kept
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
// vector is logged and left out, but more than five of them in one batch fail
// the whole document: the embedder's last error is thrown (DocumentError when
// it gave none). A failure or a stop request takes the items already added
// out of the index again.
EmbeddedChunks embedChunks(const std::vector<Document>& chunks, const ChunkEmbeddingJob& job,
                           std::stop_token stop);

}  // namespace folvane
