#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingModelLoadError.h"
#include "SimilaritySearchKit/EmbeddingsProtocol.h"

namespace folvane {

class BertEncoder;
class BertTokenizer;

// Sentence embeddings from our own six-layer BERT encoder (768 outputs, 512
// input tokens), reading msmarco-distilbert-base-tas-b weights in safetensors
// form. The embedding is the last layer's output at the [CLS] token, the
// model's own pooling, not normalised. Safe to call encode() from several
// threads at once.
class DistilbertEmbeddings final : public EmbeddingsProtocol {
  public:
    static constexpr int inputDimention = 512;
    static constexpr int outputDimention = 768;
    // The weights file's name inside `models/` of the data directory.
    static constexpr const char* weightsFileName = "msmarco-distilbert-base-tas-b.safetensors";

    // Throws EmbeddingModelLoadError when the weights cannot be used: a file
    // that is missing or damaged, or a model that is not 768 wide, has fewer
    // than 512 positions or fewer token ids than the tokenizer's vocabulary.
    // computeUnits: 2 (all units) or 0 (CPU only); on this platform both run
    // on the CPU.
    DistilbertEmbeddings(const std::filesystem::path& weightsFile,
                         std::shared_ptr<const BertTokenizer> tokenizer, int computeUnits);
    // Over an encoder already loaded, of any width (tests use a small one).
    // Throws EmbeddingModelLoadError as above, except for the width.
    DistilbertEmbeddings(std::shared_ptr<const BertEncoder> encoder,
                         std::shared_ptr<const BertTokenizer> tokenizer);
    ~DistilbertEmbeddings() override;

    // No vector when the encoder fails; nothing is thrown.
    std::optional<std::vector<float>> encode(const std::string& sentence) override;

    const BertTokenizer& tokenizer() const { return *tokenizer_; }
    const BertEncoder& encoder() const { return *encoder_; }

  private:
    std::shared_ptr<const BertTokenizer> tokenizer_;
    std::shared_ptr<const BertEncoder> encoder_;
};

}  // namespace folvane
