#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"

namespace folvane {

class BertTokenizer;

// The model could not be read: the file is missing, truncated or not the
// expected architecture. what() says which, for the log.
class EmbeddingModelLoadError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Sentence embeddings from our own six-layer BERT encoder (768 outputs, 512
// input tokens), reading msmarco-distilbert-base-tas-b weights in safetensors
// form. Safe to call encode() from several threads at once.
class DistilbertEmbeddings final : public EmbeddingsProtocol {
  public:
    static constexpr int inputDimention = 512;
    static constexpr int outputDimention = 768;
    // The weights file's name inside `models/` of the data directory.
    static constexpr const char* weightsFileName = "msmarco-distilbert-base-tas-b.safetensors";

    // Throws EmbeddingModelLoadError when the weights cannot be used.
    // computeUnits: 2 (all units) or 0 (CPU only); on this platform both run
    // on the CPU.
    DistilbertEmbeddings(const std::filesystem::path& weightsFile,
                         std::shared_ptr<const BertTokenizer> tokenizer, int computeUnits);
    ~DistilbertEmbeddings() override;

    std::optional<std::vector<float>> encode(const std::string& sentence) override;

  private:
    struct Model;
    std::shared_ptr<const BertTokenizer> tokenizer_;
    std::unique_ptr<Model> model_;
};

}  // namespace folvane
