#include "conversation/ToolCallHandler.h"

#include <charconv>

#include "documents/PdfDocument.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "platform/Uuid.h"
#include "providers/DecodingError.h"

namespace folvane {

namespace {

std::optional<int64_t> decimal(const std::string& text) {
    int64_t value = 0;
    const auto end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || at != end) return std::nullopt;
    return value;
}

}  // namespace

ToolCallHandler::ToolCallHandler(const Conversation& conversation, std::vector<Bookmark> bookmarks)
    : conversationId_(conversation.id),
      model_(conversation.model),
      bookmarks_(std::move(bookmarks)) {}

ToolCallHandler::Result ToolCallHandler::call(const std::string& functionName,
                                              const std::string& functionArguments) {
    const std::string name = functionName.empty() ? getPageContent : functionName;
    Result result;
    if (name == getPageContent) result.text = readPage(functionArguments);

    Message callMessage;
    callMessage.conversationId = conversationId_;
    callMessage.role = "assistant";
    callMessage.model = model_;
    callMessage.functionName = name;
    callMessage.functionArguments = functionArguments;

    Message resultMessage;
    resultMessage.conversationId = conversationId_;
    resultMessage.role = "function";
    resultMessage.content = result.text;
    resultMessage.model = model_;
    resultMessage.name = name;

    result.messages = {std::move(callMessage), std::move(resultMessage)};
    return result;
}

std::string ToolCallHandler::readPage(const std::string& arguments) {
    // Both keys are required: documentId as decimal text, page counted from 1.
    const auto json = json_read::parse(arguments);
    const auto& object = json_read::object(json, "GetPageContentArgs");
    const std::string documentId =
        json_read::string(json_read::required(object, "documentId"), "documentId");
    const int64_t page = json_read::integer(json_read::required(object, "page"), "page");

    const auto bookmarkId = decimal(documentId);
    if (!bookmarkId) return noContent;
    const Bookmark* bookmark = nullptr;
    for (const auto& candidate : bookmarks_) {
        if (candidate.id == *bookmarkId) bookmark = &candidate;
    }
    if (!bookmark) return noContent;
    const auto path = pathFromFileUrl(bookmark->filePath);
    if (!path) return noContent;
    std::unique_ptr<PdfDocument> document;
    try {
        document = PdfDocument::open(*path);
    } catch (const std::exception& error) {
        // A file that cannot be read has no content for the model to see; the
        // tool's answer says so.
        log(error.what());
        return noContent;
    }
    if (page < 1 || page > document->pageCount()) return noContent;
    const int index = static_cast<int>(page - 1);
    if (!document->hasPage(index)) return noContent;

    {
        std::lock_guard lock(mutex_);
        toolReferences_.push_back(Reference{newUuid(), *bookmarkId, static_cast<int>(page), 1.0f});
    }
    const auto text = document->pageText(index);
    return text && !text->empty() ? *text : noContent;
}

std::vector<Reference> ToolCallHandler::toolReferences() const {
    std::lock_guard lock(mutex_);
    return toolReferences_;
}

}  // namespace folvane
