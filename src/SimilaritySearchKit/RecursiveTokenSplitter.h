#pragma once

#include <memory>

#include "SimilaritySearchKit/TextSplitterProtocol.h"
#include "SimilaritySearchKit/TokenizerProtocol.h"

namespace folvane {

// The largest chunk, in tokens, of the token splitters: 512 model inputs less
// [CLS] and [SEP].
inline constexpr int maxChunkTokens = 510;

// Cuts `text` at the first of "\n\n", "\n", ".", " ", "" whose parts all have at
// most min(chunkSize, 510) tokens, and packs consecutive parts into chunks under
// that limit, the separators counted. A chunk keeps its trailing separator
// unless it is a space or tab. A text that no separator divides gives nothing.
TextSplitResult recursiveTokenSplit(const TokenizerProtocol& tokenizer, std::string_view text,
                                    int chunkSize);

// The splitter form of recursiveTokenSplit; `chunkOverlap` plays no part.
class RecursiveTokenSplitter : public TextSplitterProtocol {
  public:
    explicit RecursiveTokenSplitter(std::shared_ptr<const TokenizerProtocol> tokenizer);

    TextSplitResult split(std::string_view text, int chunkSize, int chunkOverlap) const override;

    const TokenizerProtocol& tokenizer() const { return *tokenizer_; }

  private:
    std::shared_ptr<const TokenizerProtocol> tokenizer_;
};

}  // namespace folvane
