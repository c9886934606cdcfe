#include "documents/DocumentIntake.h"

#include "documents/DocumentDigest.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"

namespace folvane {

int64_t DocumentIntake::findOrInsertBookmark(const std::string& fileUrl) const {
    const auto path = pathFromFileUrl(fileUrl);
    if (!path) throw FileError("“" + fileUrl + "” is not a file on this computer");
    Bookmark bookmark;
    bookmark.data = FileBookmark::make(*path);
    bookmark.filePath = fileUrlFromPath(*path);
    bookmark.hash = documentDigest(*path);
    if (auto existing = bookmarks_.find(bookmark.filePath, bookmark.hash)) return existing->id;
    bookmark.indexingStatus = "none";
    return bookmarks_.insert(bookmark);
}

}  // namespace folvane
