#pragma once

#include <memory>

#include "SimilaritySearchKit/TextSplitterProtocol.h"
#include "SimilaritySearchKit/TokenizerProtocol.h"

namespace folvane {

// Fixed spans of min(chunkSize, 510) tokens, each detokenized and cut after its
// last ".", "?", "!" or line end; line ends become spaces. The tokens of the
// emitted text are consumed and the next span starts behind them (always at
// least one token further). `chunkOverlap` plays no part.
class TokenSplitter : public TextSplitterProtocol {
  public:
    explicit TokenSplitter(std::shared_ptr<const TokenizerProtocol> tokenizer);

    TextSplitResult split(std::string_view text, int chunkSize, int chunkOverlap) const override;

    const TokenizerProtocol& tokenizer() const { return *tokenizer_; }

  private:
    std::shared_ptr<const TokenizerProtocol> tokenizer_;
};

}  // namespace folvane
