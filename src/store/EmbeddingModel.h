#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "store/Embedding.h"
#include "store/SqliteConnection.h"

namespace folvane {

// The table `embeddings`: one index item (chunk and vector) a row, per document.
class EmbeddingModel {
  public:
    explicit EmbeddingModel(std::shared_ptr<SqliteConnection> db) : db_(std::move(db)) {}

    // All rows in one go: a document's rows are either all stored or none.
    void insert(const std::vector<Embedding>& embeddings) const;
    // The same inside a transaction that the caller holds.
    void insertRows(const std::vector<Embedding>& embeddings) const;
    // The document's rows in row order. Unlike the other reads of all rows this
    // one throws: half a document's vectors would answer as if they were all.
    std::vector<IndexItemExtra> getAll(int64_t bookmarkId) const;
    void remove(int64_t bookmarkId) const;
    // Names the model that made every row of the document.
    void setEmbeddingModel(int64_t bookmarkId, const std::string& embeddingModel) const;

  private:
    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane
