#include <algorithm>
#include <optional>
#include <ostream>
#include <stdexcept>

#include "SimilaritySearchKit/EmbeddingModelType.h"
#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"

namespace folvane {

namespace {

const DocumentInfo* findDocument(const ChatDetailState& state, int64_t bookmarkId) {
    for (const auto& document : state.allDocuments) {
        if (document.bookmark.id == bookmarkId) return &document;
    }
    return nullptr;
}

// The chat and its document named by the first two arguments.
struct DocumentArguments {
    int64_t chatId;
    int64_t bookmarkId;
};

DocumentArguments documentArguments(const CliArguments& args, const std::string& command) {
    if (args.size() < 2) throw UsageError(command + " needs a chat id and a document id");
    expectNoMoreArguments(args, 2);
    return {parseId(args[0], "chat id"), parseId(args[1], "document id")};
}

void expectDocument(const ChatSession& session, const DocumentArguments& ids) {
    if (!findDocument(session.state(), ids.bookmarkId)) {
        throw std::runtime_error("Chat " + std::to_string(ids.chatId) +
                                 " has no document with the id " + std::to_string(ids.bookmarkId) +
                                 ".");
    }
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
    ChatSession session(context, chatId);
    session.loadIndexes(true);
    const size_t before = session.state().allDocuments.size();
    session.runIndexing(chat_input::AddDocuments{urls});
    session.expectNoError();
    const auto& documents = session.state().allDocuments;
    bool failed = false;
    for (size_t i = before; i < documents.size(); ++i) {
        failed = session.printDocument(documents[i]) || failed;
    }
    return failed ? 1 : 0;
}

// remove-document CHAT_ID BOOKMARK_ID: takes a document out of a chat; its
// stored rows stay for other chats. The indexes need not load: a document
// that cannot be read can always be removed.
int runRemoveDocumentCommand(CliContext& context, const CliArguments& args) {
    const DocumentArguments ids = documentArguments(args, "remove-document");
    ChatSession session(context, ids.chatId);
    expectDocument(session, ids);
    if (session.state().conversation.bookmarkId == ids.bookmarkId) {
        // The chat stands on its first document; only the ones added later leave.
        throw std::runtime_error("Document " + std::to_string(ids.bookmarkId) +
                                 " is the one the chat was opened with and can't be taken out "
                                 "of it; remove the chat instead.");
    }
    session.trigger(chat_input::RemoveFromChat{ids.bookmarkId});
    session.expectNoError();
    return 0;
}

// reprocess CHAT_ID BOOKMARK_ID [--ocr | --embedder local]: embeds a document
// again, reading every page by OCR with --ocr, or with the downloaded local
// model with --embedder local; its old rows answer until the new ones are
// stored.
int runReprocessCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool ocr = takeFlag(args, "--ocr");
    const std::optional<std::string> embedder = takeOption(args, "--embedder");
    if (embedder && *embedder != "local") {
        throw UsageError("--embedder takes \"local\" (the downloaded local model)");
    }
    if (embedder && ocr) throw UsageError("--ocr and --embedder go separately");
    const DocumentArguments ids = documentArguments(args, "reprocess");
    ChatSession session(context, ids.chatId);
    expectDocument(session, ids);
    session.loadIndexes(true);
    if (embedder) {
        if (!session.state().localModelInstalled) {
            throw std::runtime_error(
                "The local model is not downloaded; run \"folvane-cli model download\" first.");
        }
        const DocumentInfo* document = findDocument(session.state(), ids.bookmarkId);
        if (document && document->embeddingModel == rawValue(EmbeddingModelType::distilbert)) {
            context.out() << "Document " << ids.bookmarkId
                          << " is already embedded with the local model.\n";
            return 0;
        }
        session.runIndexing(chat_input::ReembedWithLocalModel{ids.bookmarkId});
    } else {
        session.runIndexing(chat_input::RebuildIndex{ids.bookmarkId, ocr});
    }
    session.expectNoError();
    const DocumentInfo* document = findDocument(session.state(), ids.bookmarkId);
    if (!document) throw std::runtime_error("Failed to process the document.");
    return session.printDocument(*document) ? 1 : 0;
}

}  // namespace folvane
