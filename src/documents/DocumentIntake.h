#pragma once

#include <cstdint>
#include <string>

#include "store/Bookmark.h"

namespace folvane {

class DocumentStore;

// How a file becomes a known document. A document is its URL together with the
// digest of its first 64 KiB: the same pair finds the same bookmark row, and so
// the same stored vectors, in any chat.
class DocumentIntake {
  public:
    explicit DocumentIntake(const DocumentStore& store) : store_(store) {}

    // The bookmark of a file URL: the existing row for its URL and digest (its
    // stored access data left as they are), or a new row with status "none".
    // A file is refused when it can never be read as a PDF: throws FileError
    // when it cannot be reached or read, DocumentError when it is no PDF or is
    // encrypted, DatabaseError when the row cannot be written.
    Bookmark findOrInsertBookmark(const std::string& fileUrl) const;

  private:
    const DocumentStore& store_;
};

}  // namespace folvane
