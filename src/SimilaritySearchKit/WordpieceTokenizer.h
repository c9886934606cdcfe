#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "SimilaritySearchKit/BertVocabulary.h"

namespace folvane {

// The second stage of BERT tokenization: splits one word into the longest
// vocabulary pieces from the left, later pieces marked with "##". A word with a
// piece that the vocabulary lacks, or longer than `maxInputCharsPerWord`
// characters, is `unkToken` alone.
class WordpieceTokenizer {
  public:
    WordpieceTokenizer(std::shared_ptr<const BertVocabulary> vocab, std::string unkToken = "[UNK]",
                       int maxInputCharsPerWord = 100);

    std::vector<std::string> tokenize(std::string_view word) const;

    const std::string& unkToken() const { return unkToken_; }
    int maxInputCharsPerWord() const { return maxInputCharsPerWord_; }
    const BertVocabulary& vocab() const { return *vocab_; }

  private:
    std::shared_ptr<const BertVocabulary> vocab_;
    std::string unkToken_;
    int maxInputCharsPerWord_;
};

}  // namespace folvane
