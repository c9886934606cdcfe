#include "documents/DocumentIntake.h"

#include "documents/DocumentDigest.h"
#include "documents/PdfDocument.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "store/DocumentStore.h"

namespace folvane {

Bookmark DocumentIntake::findOrInsertBookmark(const std::string& fileUrl) const {
    const auto path = pathFromFileUrl(fileUrl);
    if (!path) throw FileError("“" + fileUrl + "” is not a file on this computer");
    PdfDocument::checkAdmissible(*path);
    Bookmark bookmark;
    bookmark.data = FileBookmark::make(*path);
    bookmark.filePath = fileUrlFromPath(*path);
    bookmark.hash = documentDigest(*path);
    if (auto existing = store_.findBookmark(bookmark.filePath, bookmark.hash)) return *existing;
    bookmark.indexingStatus = "none";
    bookmark.id = store_.insertBookmark(bookmark);
    if (auto row = store_.bookmark(bookmark.id)) return *row;
    return bookmark;
}

}  // namespace folvane
