#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"

namespace folvane {

class BertEncoder;
class BertTokenizer;

// A contextual embedding: the mean of the encoder's output vectors over the
// text's tokens, [CLS] and [SEP] included (the positions of the attention
// mask), so an empty text still has a vector. The text is cut to the encoder's
// 512 tokens as DistilbertEmbeddings cuts it. Safe to call encode() from
// several threads at once.
class NativeContextualEmbeddings final : public EmbeddingsProtocol {
  public:
    NativeContextualEmbeddings(std::shared_ptr<const BertEncoder> encoder,
                               std::shared_ptr<const BertTokenizer> tokenizer);
    ~NativeContextualEmbeddings() override;

    // No vector when the encoder fails; nothing is thrown.
    std::optional<std::vector<float>> encode(const std::string& sentence) override;

    int dimension() const;

  private:
    std::shared_ptr<const BertEncoder> encoder_;
    std::shared_ptr<const BertTokenizer> tokenizer_;
};

}  // namespace folvane
