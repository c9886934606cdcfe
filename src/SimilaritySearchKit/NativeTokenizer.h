#pragma once

#include "SimilaritySearchKit/TokenizerProtocol.h"

namespace folvane {

// Words by the Unicode word-break rules: every segment that holds a letter, a
// number, kana or an ideograph, in order; spaces and punctuation are dropped.
// detokenize joins tokens with single spaces.
class NativeTokenizer : public TokenizerProtocol {
  public:
    std::vector<std::string> tokenize(std::string_view text) const override;
    std::string detokenize(const std::vector<std::string>& tokens) const override;
};

}  // namespace folvane
