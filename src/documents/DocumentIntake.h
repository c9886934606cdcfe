#pragma once

#include <cstdint>
#include <string>

#include "store/BookmarkModel.h"

namespace folvane {

// How a file becomes a known document. A document is its URL together with the
// digest of its first 64 KiB: the same pair finds the same bookmark row, and so
// the same stored vectors, in any chat.
class DocumentIntake {
  public:
    explicit DocumentIntake(BookmarkModel bookmarks) : bookmarks_(std::move(bookmarks)) {}

    // The bookmark id of a file URL: the existing row for its URL and digest
    // (its stored access data left as they are), or a new row with status
    // "none". Throws FileError when the file cannot be reached or read.
    int64_t findOrInsertBookmark(const std::string& fileUrl) const;

  private:
    BookmarkModel bookmarks_;
};

}  // namespace folvane
