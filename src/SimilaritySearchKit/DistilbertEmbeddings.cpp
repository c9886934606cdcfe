#include "SimilaritySearchKit/DistilbertEmbeddings.h"

#include <exception>

#include "SimilaritySearchKit/BertEncoder.h"
#include "SimilaritySearchKit/BertTokenizer.h"

namespace folvane {
namespace {

std::shared_ptr<const BertEncoder> loadEncoder(const std::filesystem::path& weightsFile) {
    auto encoder = std::make_shared<const BertEncoder>(weightsFile);
    if (encoder->hiddenSize() != DistilbertEmbeddings::outputDimention)
        throw EmbeddingModelLoadError("Cannot load the embedding model " + weightsFile.string() +
                                      ": it gives " + std::to_string(encoder->hiddenSize()) +
                                      " outputs, not " +
                                      std::to_string(DistilbertEmbeddings::outputDimention));
    return encoder;
}

}  // namespace

DistilbertEmbeddings::DistilbertEmbeddings(const std::filesystem::path& weightsFile,
                                           std::shared_ptr<const BertTokenizer> tokenizer, int)
    : DistilbertEmbeddings(loadEncoder(weightsFile), std::move(tokenizer)) {}

DistilbertEmbeddings::DistilbertEmbeddings(std::shared_ptr<const BertEncoder> encoder,
                                           std::shared_ptr<const BertTokenizer> tokenizer)
    : tokenizer_(std::move(tokenizer)), encoder_(std::move(encoder)) {
    const BertWeights& weights = encoder_->weights();
    if (weights.maxPositions < inputDimention)
        throw EmbeddingModelLoadError("Cannot use the embedding model: it takes " +
                                      std::to_string(weights.maxPositions) +
                                      " positions, fewer than " + std::to_string(inputDimention));
    if (static_cast<std::size_t>(weights.vocabularySize) < tokenizer_->idsToTokens().size())
        throw EmbeddingModelLoadError("Cannot use the embedding model: it knows " +
                                      std::to_string(weights.vocabularySize) +
                                      " token ids, fewer than the tokenizer's " +
                                      std::to_string(tokenizer_->idsToTokens().size()));
}

DistilbertEmbeddings::~DistilbertEmbeddings() = default;

std::optional<std::vector<float>> DistilbertEmbeddings::encode(const std::string& sentence) {
    try {
        const BertModelInputs inputs =
            BertTokenizer::buildModelInputs(tokenizer_->buildModelTokens(sentence));
        return encoder_->firstTokenVector(inputs.inputIds, inputs.attentionMask);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace folvane
