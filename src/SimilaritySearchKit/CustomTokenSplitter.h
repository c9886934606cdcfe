#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "SimilaritySearchKit/ChunkHeaderOptions.h"
#include "SimilaritySearchKit/Document.h"
#include "SimilaritySearchKit/TextSplitterProtocol.h"
#include "SimilaritySearchKit/TokenizerProtocol.h"

namespace folvane {

// The splitter of the indexing flow: the recursive token split at 510 tokens,
// each chunk a Document that inherits its text's metadata plus the line range
// it covers, stored under "loc" as the JSON text {"lines":{"from":F,"to":T}}
// (other keys of an existing "loc" object are kept).
class CustomTokenSplitter : public TextSplitterProtocol {
  public:
    using Metadata = std::map<std::string, std::string>;

    explicit CustomTokenSplitter(std::shared_ptr<const TokenizerProtocol> tokenizer);

    // recursiveTokenSplit; `chunkOverlap` plays no part.
    TextSplitResult split(std::string_view text, int chunkSize, int chunkOverlap) const override;

    // Drops documents with empty text and splits the others.
    std::vector<Document> splitDocuments(const std::vector<Document>& documents,
                                         const ChunkHeaderOptions& options = {}) const;
    // Splits each text with its metadata (one empty map each when `metadatas` is
    // empty; otherwise it has one map per text).
    std::vector<Document> createDocuments(const std::vector<std::string>& texts,
                                          const std::vector<Metadata>& metadatas,
                                          const ChunkHeaderOptions& options = {}) const;

    const TokenizerProtocol& tokenizer() const { return *tokenizer_; }

  private:
    std::shared_ptr<const TokenizerProtocol> tokenizer_;
};

}  // namespace folvane
