#include "SimilaritySearchKit/DistilbertEmbeddings.h"

#include "SimilaritySearchKit/BertTokenizer.h"

namespace folvane {

struct DistilbertEmbeddings::Model {};

DistilbertEmbeddings::DistilbertEmbeddings(const std::filesystem::path& weightsFile,
                                           std::shared_ptr<const BertTokenizer> tokenizer, int)
    : tokenizer_(std::move(tokenizer)) {
    throw EmbeddingModelLoadError("No BERT encoder in this build yet: " + weightsFile.string());
}

DistilbertEmbeddings::~DistilbertEmbeddings() = default;

std::optional<std::vector<float>> DistilbertEmbeddings::encode(const std::string&) {
    return std::nullopt;
}

}  // namespace folvane
