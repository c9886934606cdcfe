#include "SimilaritySearchKit/NativeContextualEmbeddings.h"

#include <exception>

#include "SimilaritySearchKit/BertEncoder.h"
#include "SimilaritySearchKit/BertTokenizer.h"

namespace folvane {

NativeContextualEmbeddings::NativeContextualEmbeddings(
    std::shared_ptr<const BertEncoder> encoder, std::shared_ptr<const BertTokenizer> tokenizer)
    : encoder_(std::move(encoder)), tokenizer_(std::move(tokenizer)) {}

NativeContextualEmbeddings::~NativeContextualEmbeddings() = default;

int NativeContextualEmbeddings::dimension() const {
    return encoder_->hiddenSize();
}

std::optional<std::vector<float>> NativeContextualEmbeddings::encode(const std::string& sentence) {
    try {
        const BertModelInputs inputs =
            BertTokenizer::buildModelInputs(tokenizer_->buildModelTokens(sentence));
        return encoder_->meanTokenVector(inputs.inputIds, inputs.attentionMask);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace folvane
