#include "documents/ContextBuilder.h"

#include <algorithm>

#include "documents/ContextError.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "providers/GPTEncoder.h"

namespace folvane {

namespace {

std::string replaced(std::string_view text, std::string_view placeholder,
                     const std::string& value) {
    std::string result(text);
    const size_t at = result.find(placeholder);
    if (at != std::string::npos) result.replace(at, placeholder.size(), value);
    return result;
}

std::string lastPathComponent(const std::string& path) {
    std::string trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
    const size_t slash = trimmed.rfind('/');
    return slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
}

std::vector<SearchResult> searchIfFilled(const std::shared_ptr<SimilarityIndex>& index,
                                         const std::string& query, int count) {
    if (!index || index->sample(1).empty()) return {};
    return index->search(query, count);
}

}  // namespace

std::string documentsMetadataText(const std::vector<Bookmark>& bookmarks) {
    std::string text = "Number of documents: " + std::to_string(bookmarks.size()) + "\n";
    int number = 0;
    for (const auto& bookmark : bookmarks) {
        ++number;
        const auto path = pathFromFileUrl(bookmark.filePath);
        if (!path) continue;
        text += "Document #" + std::to_string(number) +
                "\n- Document ID: " + std::to_string(bookmark.id) +
                "\n- File Name: " + lastPathComponent(*path) + "\n- File Type: PDF\n\n";
        if (bookmark.tags) text += "- File Tags: " + *bookmark.tags + "\n\n";
    }
    return text;
}

ContextBuilder::ContextBuilder(ChatIndexes indexes, std::vector<Bookmark> bookmarks,
                               const GPTEncoder& encoder, int contextLength,
                               RedactionOptions redaction)
    : indexes_(std::move(indexes)),
      bookmarks_(std::move(bookmarks)),
      encoder_(encoder),
      contextLength_(contextLength),
      redaction_(redaction) {}

std::string_view ContextBuilder::instructionTemplate(std::string_view model) {
    return model.find("gpt") != std::string_view::npos ? gptTemplate : plainTemplate;
}

std::string ContextBuilder::contentBlock(const std::string& context) {
    return replaced(contentTemplate, "{context}", context);
}

std::string ContextBuilder::contextEntry(const SearchResult& result) {
    const auto bookmark = result.metadata.find("bookmarkId");
    const auto page = result.metadata.find("page");
    const int number = page == result.metadata.end() ? 1 : pageNumber(page->second).value_or(1);
    return "- Document ID: " + (bookmark == result.metadata.end() ? "" : bookmark->second) +
           "\n- Page: " + std::to_string(number) + "\n- Content: " + result.text;
}

std::string ContextBuilder::contextText(const std::vector<SearchResult>& results) {
    std::string text;
    for (size_t i = 0; i < results.size(); ++i) {
        if (i > 0) text += "\n\n";
        text += contextEntry(results[i]);
    }
    return text;
}

std::vector<SearchResult> ContextBuilder::bestResults(std::vector<std::vector<SearchResult>> lists,
                                                      int count) {
    std::vector<SearchResult> merged;
    for (auto& list : lists) {
        for (auto& result : list) merged.push_back(std::move(result));
    }
    std::stable_sort(
        merged.begin(), merged.end(),
        [](const SearchResult& a, const SearchResult& b) { return a.score > b.score; });
    if (merged.size() > size_t(std::max(count, 0))) merged.resize(size_t(std::max(count, 0)));
    return merged;
}

std::string ContextBuilder::documentsMetadataText() const {
    return folvane::documentsMetadataText(bookmarks_);
}

std::string ContextBuilder::quotedContentInstruction() const {
    return replaced(plainTemplate, "{metadata}", documentsMetadataText());
}

ContextBuilder::Instruction ContextBuilder::generateSystemInstructionForQuery(
    const std::string& query, const std::string& model, int count) const {
    if (!indexes_.local) throw ContextError(ContextError::Case::noIndex);
    Instruction result;
    result.results = bestResults({searchIfFilled(indexes_.local, query, count),
                                  searchIfFilled(indexes_.openai, query, count),
                                  searchIfFilled(indexes_.openaiNew, query, count)},
                                 count);
    const std::string instruction =
        replaced(instructionTemplate(model), "{metadata}", documentsMetadataText());
    result.contentBlock = contentBlock(contextText(result.results));

    const int limit = contextLength_;
    log("tokenLengthLimit " + std::to_string(limit));
    if (encoder_.count(instruction + query) > size_t(std::max(limit, 0))) {
        throw ContextError(ContextError::Case::messageTooLong);
    }
    result.instruction = redactSensitiveContent(instruction, redaction_);
    log("generateSystemInstructionForQuery");
    return result;
}

}  // namespace folvane
