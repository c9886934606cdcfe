#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "cli/CliArguments.h"
#include "cli/CliIndexer.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"

namespace folvane {

namespace {

bool hasDocument(ChatIndexer& indexer, int64_t bookmarkId) {
    const auto bookmarks = indexer.bookmarks();
    return std::any_of(bookmarks.begin(), bookmarks.end(),
                       [&](const Bookmark& b) { return b.id == bookmarkId; });
}

void expectDocument(ChatIndexer& indexer, int64_t chatId, int64_t bookmarkId) {
    if (!hasDocument(indexer, bookmarkId)) {
        throw std::runtime_error("Chat " + std::to_string(chatId) +
                                 " has no document with the id " + std::to_string(bookmarkId) +
                                 ".");
    }
}

const DocumentInfo* findDocument(const IndexingUpdate& state, int64_t bookmarkId) {
    for (const auto& document : state.documents) {
        if (document.bookmark.id == bookmarkId) return &document;
    }
    return nullptr;
}

}  // namespace

// add-documents CHAT_ID FILE...: opens more documents in a chat (loading its
// indexes first) and embeds those without rows; prints each new document's
// bookmark id and state.
int runAddDocumentsCommand(CliContext& context, const CliArguments& args) {
    if (args.size() < 2) throw UsageError("add-documents needs a chat id and at least one file");
    const int64_t chatId = parseId(args[0], "chat id");
    std::vector<std::string> urls;
    for (size_t i = 1; i < args.size(); ++i) {
        FileBookmark::make(args[i]);  // exists and is a regular file, or a clear error
        urls.push_back(fileUrlFromPath(args[i]));
    }
    CliIndexer indexer(context, chatId);
    indexer.load();
    const auto before = indexer.indexer().state().documents.size();
    indexer.run([&](ChatIndexer& chat) { chat.addDocuments(urls); });
    const auto state = indexer.indexer().state();
    bool failed = false;
    for (size_t i = before; i < state.documents.size(); ++i) {
        const auto& document = state.documents[i];
        context.out() << document.bookmark.id << '\t' << rawValue(document.indexingState) << '\t'
                      << document.fileUrl << '\n';
        failed = failed || document.indexingState == IndexingState::failed;
    }
    return failed ? 1 : 0;
}

// remove-document CHAT_ID BOOKMARK_ID: takes a document out of a chat; its
// stored rows stay for other chats.
int runRemoveDocumentCommand(CliContext& context, const CliArguments& args) {
    if (args.size() < 2) throw UsageError("remove-document needs a chat id and a document id");
    expectNoMoreArguments(args, 2);
    const int64_t chatId = parseId(args[0], "chat id");
    const int64_t bookmarkId = parseId(args[1], "document id");
    CliIndexer indexer(context, chatId);
    expectDocument(indexer.indexer(), chatId, bookmarkId);
    indexer.load();
    indexer.indexer().removeFromChat(bookmarkId);
    return 0;
}

// reprocess CHAT_ID BOOKMARK_ID [--ocr]: deletes a document's rows and embeds
// it again, reading every page by OCR with --ocr.
int runReprocessCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool ocr = takeFlag(args, "--ocr");
    if (args.size() < 2) throw UsageError("reprocess needs a chat id and a document id");
    expectNoMoreArguments(args, 2);
    const int64_t chatId = parseId(args[0], "chat id");
    const int64_t bookmarkId = parseId(args[1], "document id");
    CliIndexer indexer(context, chatId);
    expectDocument(indexer.indexer(), chatId, bookmarkId);
    indexer.load();
    indexer.run([&](ChatIndexer& chat) { chat.rebuildIndex(bookmarkId, ocr); });
    const IndexingUpdate state = indexer.indexer().state();  // a copy: keep it while reading
    const DocumentInfo* document = findDocument(state, bookmarkId);
    if (!document || document->indexingState != IndexingState::indexed) {
        throw std::runtime_error("Failed to process the document.");
    }
    context.out() << bookmarkId << '\t' << rawValue(document->indexingState) << '\t'
                  << document->fileUrl << '\n';
    return 0;
}

}  // namespace folvane
