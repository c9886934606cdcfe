#include "SimilaritySearchKit/CustomTokenSplitter.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "SimilaritySearchKit/RecursiveTokenSplitter.h"
#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {
namespace {

long lineEnds(std::string_view text) {
    return static_cast<long>(textunits::countOccurrences(text, "\n"));
}

// The "loc" entry of `metadata` with its "lines" set to {from, to}.
std::string locWithLines(const CustomTokenSplitter::Metadata& metadata, long from, long to) {
    nlohmann::json loc = nlohmann::json::object();
    if (const auto found = metadata.find("loc"); found != metadata.end()) {
        nlohmann::json parsed = nlohmann::json::parse(found->second, nullptr, false);
        if (parsed.is_object()) loc = std::move(parsed);
    }
    loc["lines"] = {{"from", from}, {"to", to}};
    return loc.dump();
}

}  // namespace

CustomTokenSplitter::CustomTokenSplitter(std::shared_ptr<const TokenizerProtocol> tokenizer)
    : tokenizer_(std::move(tokenizer)) {}

TextSplitResult CustomTokenSplitter::split(std::string_view text, int chunkSize, int) const {
    return recursiveTokenSplit(*tokenizer_, text, chunkSize);
}

std::vector<Document> CustomTokenSplitter::splitDocuments(const std::vector<Document>& documents,
                                                          const ChunkHeaderOptions& options) const {
    std::vector<std::string> texts;
    std::vector<Metadata> metadatas;
    for (const Document& document : documents) {
        if (document.pageContent.empty()) continue;
        texts.push_back(document.pageContent);
        metadatas.push_back(document.metadata);
    }
    return createDocuments(texts, metadatas, options);
}

std::vector<Document> CustomTokenSplitter::createDocuments(
    const std::vector<std::string>& texts, const std::vector<Metadata>& metadatas,
    const ChunkHeaderOptions& options) const {
    if (!metadatas.empty() && metadatas.size() != texts.size()) {
        throw std::invalid_argument("createDocuments needs one metadata map per text");
    }
    std::vector<Document> documents;
    for (size_t i = 0; i < texts.size(); ++i) {
        const std::string& text = texts[i];
        const Metadata metadata = metadatas.empty() ? Metadata{} : metadatas[i];
        const std::vector<std::string> chunks = split(text, maxChunkTokens, 0).chunks;
        const long textLineEnds = lineEnds(text);

        long lineCounter = 1;
        for (size_t c = 0; c < chunks.size(); ++c) {
            Document document;
            document.pageContent = options.chunkHeader;
            long intermediateLines = 0;
            if (c > 0) {
                // Not clamped: a negative count is kept as it is.
                intermediateLines = textLineEnds - (lineEnds(chunks[c - 1]) + lineEnds(chunks[c]));
                if (options.appendChunkOverlapHeader) {
                    document.pageContent += options.chunkOverlapHeader;
                }
            }
            const long from = lineCounter + intermediateLines;
            const long to = from + lineEnds(chunks[c]);
            lineCounter = to;

            document.metadata = metadata;
            document.metadata["loc"] = locWithLines(metadata, from, to);
            document.pageContent += chunks[c];
            documents.push_back(std::move(document));
        }
    }
    return documents;
}

}  // namespace folvane
