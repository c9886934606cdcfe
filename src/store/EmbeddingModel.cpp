#include "store/EmbeddingModel.h"

#include <algorithm>

#include "store/IndexItemJsonReader.h"
#include "store/JsonText.h"
#include "store/RowReading.h"

namespace folvane {

void EmbeddingModel::insert(const std::vector<Embedding>& embeddings) const {
    if (embeddings.empty()) return;
    db_->transaction([&] { insertRows(embeddings); });
}

void EmbeddingModel::insertRows(const std::vector<Embedding>& embeddings) const {
    // A statement takes at most 32766 parameters; larger documents go in
    // several statements inside the caller's transaction.
    constexpr size_t rowsPerStatement = 2000;
    for (size_t start = 0; start < embeddings.size(); start += rowsPerStatement) {
        const size_t end = std::min(embeddings.size(), start + rowsPerStatement);
        std::string sql = "INSERT INTO embeddings (indexItem, bookmarkId, embeddingModel) VALUES ";
        for (size_t i = start; i < end; ++i) sql += i == start ? "(?, ?, ?)" : ", (?, ?, ?)";
        auto statement = db_->prepare(sql);
        for (size_t i = start; i < end; ++i) {
            const auto& e = embeddings[i];
            statement.bind(compactJson(toJson(e.indexItem)), e.bookmarkId, e.embeddingModel);
        }
        statement.run();
    }
}

std::vector<IndexItemExtra> EmbeddingModel::getAll(int64_t bookmarkId) const {
    auto query = db_->prepare(
        "SELECT indexItem, bookmarkId, embeddingModel FROM embeddings WHERE bookmarkId = ? "
        "ORDER BY id");
    query.bind(bookmarkId);
    std::vector<IndexItemExtra> result;
    while (query.step()) {
        // The dedicated reader takes the form this program writes; anything
        // else goes through the general parser, which accepts or rejects it.
        std::optional<IndexItem> read = IndexItemJsonReader::read(query.text(0));
        IndexItem item;
        if (read) {
            item = std::move(*read);
        } else {
            try {
                item = indexItemFromJson(readJson(query, 0));
            } catch (const nlohmann::json::exception& error) {
                throw DatabaseError(std::string("Invalid index item in the database: ") +
                                    error.what());
            }
        }
        result.push_back(IndexItemExtra{std::move(item.id), std::move(item.text),
                                        std::move(item.embedding), std::move(item.metadata),
                                        query.int64(1), query.text(2)});
    }
    return result;
}

void EmbeddingModel::remove(int64_t bookmarkId) const {
    db_->prepare("DELETE FROM embeddings WHERE bookmarkId = ?").bind(bookmarkId).run();
}

void EmbeddingModel::setEmbeddingModel(int64_t bookmarkId,
                                       const std::string& embeddingModel) const {
    db_->prepare("UPDATE embeddings SET embeddingModel = ? WHERE bookmarkId = ?")
        .bind(embeddingModel, bookmarkId)
        .run();
}

}  // namespace folvane
