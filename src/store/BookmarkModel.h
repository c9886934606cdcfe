#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "store/Bookmark.h"
#include "store/SqliteConnection.h"

namespace folvane {

// The table `bookmarks`. Rows are inserted and updated, never deleted.
class BookmarkModel {
  public:
    explicit BookmarkModel(std::shared_ptr<SqliteConnection> db) : db_(std::move(db)) {}

    // All bookmarks, newest first. Throws DatabaseError: a chat never opens
    // with a part of its documents, and a migration never works on a part.
    std::vector<Bookmark> getAll() const;
    // The bookmarks with these ids, in no set order. Throws DatabaseError.
    std::vector<Bookmark> getAll(const std::vector<int64_t>& ids) const;
    std::optional<Bookmark> find(int64_t id) const;
    std::optional<Bookmark> find(const std::string& filePath, const std::string& hash) const;
    int64_t insert(const Bookmark& bookmark) const;
    void update(const Bookmark& bookmark) const;
    void updateIndexingStatus(int64_t id, const std::string& status) const;
    void updateData(int64_t id, const std::vector<uint8_t>& data, const std::string& hash) const;

  private:
    std::vector<Bookmark> readAll(Statement& query) const;

    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane
