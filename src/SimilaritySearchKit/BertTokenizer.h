#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "SimilaritySearchKit/BasicTokenizer.h"
#include "SimilaritySearchKit/BertVocabulary.h"
#include "SimilaritySearchKit/TokenizerProtocol.h"
#include "SimilaritySearchKit/WordpieceTokenizer.h"

namespace folvane {

// The vocabulary file is missing, unreadable or lacks a special token: a defect
// of the installation. what() names the file.
class BertVocabularyError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The two integer inputs of the local model, each of shape 1 x ids.size().
struct BertModelInputs {
    std::vector<int32_t> inputIds;
    std::vector<int32_t> attentionMask;
};

// The uncased BERT tokenizer of the local embedding model: BasicTokenizer, then
// WordpieceTokenizer on each of its tokens, over the vocabulary read from
// `bert_tokenizer_vocab.txt` (one token a line, id = position among the
// non-empty lines).
class BertTokenizer : public TokenizerProtocol {
  public:
    static constexpr const char* vocabularyFileName = "bert_tokenizer_vocab.txt";
    static constexpr int maxLen = 512;

    // Reads the vocabulary from `resourceDirectory`; throws BertVocabularyError.
    explicit BertTokenizer(const std::filesystem::path& resourceDirectory);

    std::vector<std::string> tokenize(std::string_view text) const override;
    std::string detokenize(const std::vector<std::string>& tokens) const override;

    // The id of each token; std::invalid_argument for a token outside the vocabulary.
    std::vector<int> convertTokensToIds(const std::vector<std::string>& tokens) const;
    // [CLS], the ids of at most 510 tokens, [SEP], then zeros up to 512 ids.
    std::vector<int32_t> buildModelTokens(std::string_view sentence) const;
    // The ids, and a mask with 1 where an id is not 0.
    static BertModelInputs buildModelInputs(const std::vector<int32_t>& ids);

    const BasicTokenizer& basicTokenizer() const { return basicTokenizer_; }
    const WordpieceTokenizer& wordpieceTokenizer() const { return wordpieceTokenizer_; }
    const BertVocabulary& vocab() const { return *vocab_; }
    const std::vector<std::string>& idsToTokens() const { return idsToTokens_; }

  private:
    using Loaded = std::pair<std::shared_ptr<const BertVocabulary>, std::vector<std::string>>;
    static Loaded load(const std::filesystem::path& path);
    explicit BertTokenizer(Loaded loaded);

    std::shared_ptr<const BertVocabulary> vocab_;
    std::vector<std::string> idsToTokens_;
    BasicTokenizer basicTokenizer_;
    WordpieceTokenizer wordpieceTokenizer_;
};

}  // namespace folvane
