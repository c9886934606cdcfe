#include "store/BookmarkModel.h"

#include "store/RowReading.h"

namespace folvane {

namespace {

constexpr const char* selectColumns =
    "SELECT id, filePath, data, hash, indexingStatus, tags, createdAt, updatedAt FROM bookmarks ";

Bookmark readBookmark(const Statement& row) {
    Bookmark b;
    b.id = row.int64(0);
    b.filePath = row.text(1);
    b.data = row.blob(2);
    b.hash = row.text(3);
    b.indexingStatus = row.text(4);
    b.tags = row.optionalText(5);
    b.createdAt = readDate(row, 6);
    b.updatedAt = readDate(row, 7);
    return b;
}

}  // namespace

std::vector<Bookmark> BookmarkModel::readAll(Statement& query) const {
    std::vector<Bookmark> result;
    while (query.step()) result.push_back(readBookmark(query));
    return result;
}

std::vector<Bookmark> BookmarkModel::getAll() const {
    auto query = db_->prepare(selectWith(selectColumns, "ORDER BY createdAt DESC"));
    return readAll(query);
}

std::vector<Bookmark> BookmarkModel::getAll(const std::vector<int64_t>& ids) const {
    if (ids.empty()) return {};
    std::string placeholders;
    for (size_t i = 0; i < ids.size(); ++i) placeholders += i == 0 ? "?" : ", ?";
    auto query = db_->prepare(selectWith(selectColumns, "WHERE id IN (" + placeholders + ")"));
    for (int64_t id : ids) query.bind(id);
    return readAll(query);
}

std::optional<Bookmark> BookmarkModel::find(int64_t id) const {
    auto query = db_->prepare(selectWith(selectColumns, "WHERE id = ? LIMIT 1"));
    query.bind(id);
    if (!query.step()) return std::nullopt;
    return readBookmark(query);
}

std::optional<Bookmark> BookmarkModel::find(const std::string& filePath,
                                            const std::string& hash) const {
    auto query = db_->prepare(selectWith(selectColumns, "WHERE hash = ? AND filePath = ? LIMIT 1"));
    query.bind(hash, filePath);
    if (!query.step()) return std::nullopt;
    return readBookmark(query);
}

int64_t BookmarkModel::insert(const Bookmark& b) const {
    auto statement = db_->prepare(
        "INSERT INTO bookmarks (filePath, data, hash, indexingStatus, tags) "
        "VALUES (?, ?, ?, ?, ?)");
    statement.bind(b.filePath, b.data, b.hash, b.indexingStatus, b.tags);
    statement.run();
    return statement.insertedRowId();
}

void BookmarkModel::update(const Bookmark& b) const {
    db_->prepare(
           "UPDATE bookmarks SET filePath = ?, data = ?, hash = ?, indexingStatus = ?, tags = ? "
           "WHERE id = ?")
        .bind(b.filePath, b.data, b.hash, b.indexingStatus, b.tags, b.id)
        .run();
}

void BookmarkModel::updateIndexingStatus(int64_t id, const std::string& status) const {
    db_->prepare("UPDATE bookmarks SET indexingStatus = ? WHERE id = ?").bind(status, id).run();
}

void BookmarkModel::updateData(int64_t id, const std::vector<uint8_t>& data,
                               const std::string& hash) const {
    db_->prepare("UPDATE bookmarks SET data = ?, hash = ? WHERE id = ?").bind(data, hash, id).run();
}

}  // namespace folvane
