#include "documents/DocumentInfo.h"

#include <algorithm>
#include <exception>

#include "documents/DocumentDigest.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "store/DocumentStore.h"

namespace folvane {

namespace {

IndexingState initialState(const Bookmark& bookmark, IndexingState notIndexedState) {
    return bookmark.indexingStatus == "indexed" ? IndexingState::indexed : notIndexedState;
}

}  // namespace

std::optional<DocumentInfo> documentInfo(const Bookmark& bookmark, IndexingState notIndexedState) {
    DocumentInfo info;
    info.bookmark = bookmark;
    info.indexingState = initialState(bookmark, notIndexedState);
    try {
        const ResolvedBookmark resolved = FileBookmark::resolve(bookmark.data);
        info.fileUrl = resolved.url;
        info.isStale = resolved.isStale;
        if (resolved.isStale) {
            info.errorMessage = DocumentInfo::movedOrDeletedMessage;
            log("isStale");
        } else {
            log(resolved.url);
        }
    } catch (const std::exception& error) {
        log(error.what());
        if (!pathFromFileUrl(bookmark.filePath)) return std::nullopt;
        info.fileUrl = bookmark.filePath;
        info.isStale = true;
    }
    return info;
}

std::vector<DocumentInfo> documentInfos(const std::vector<Bookmark>& bookmarks) {
    std::vector<DocumentInfo> documents;
    for (const auto& bookmark : bookmarks) {
        if (auto info = documentInfo(bookmark)) documents.push_back(std::move(*info));
    }
    return documents;
}

void updateBookmark(const DocumentStore& store, int64_t bookmarkId, const std::string& fileUrl,
                    std::vector<DocumentInfo>& documents) {
    const auto path = pathFromFileUrl(fileUrl);
    if (!path) throw FileError("“" + fileUrl + "” is not a file on this computer");
    const std::vector<uint8_t> data = FileBookmark::make(*path);
    const std::string hash = documentDigest(*path);
    store.updateBookmarkData(bookmarkId, data, hash);
    auto bookmark = store.bookmark(bookmarkId);
    if (!bookmark) return;
    DocumentInfo info;
    info.fileUrl = fileUrlFromPath(*path);
    info.bookmark = *bookmark;
    info.indexingState = initialState(*bookmark, IndexingState::none);
    auto entry = std::find_if(documents.begin(), documents.end(),
                              [&](const DocumentInfo& d) { return d.bookmark.id == bookmarkId; });
    if (entry != documents.end()) *entry = std::move(info);
}

void startAccessing(const std::vector<DocumentInfo>& documents) {
    for (const auto& document : documents) log("startAccessing " + document.fileUrl);
}

void stopAccessing(const std::vector<DocumentInfo>& documents) {
    for (const auto& document : documents) log("stopAccessing " + document.fileUrl);
}

}  // namespace folvane
