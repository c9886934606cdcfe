#pragma once

#include <optional>
#include <string_view>

namespace folvane {

// Which model made a vector. The raw value is what the `embeddingModel` column holds.
enum class EmbeddingModelType {
    distilbert,
    minilmAll,
    minilmMultiQA,
    native,
    openAI,
    textEmbedding3_small,
    jina,
};

std::string_view rawValue(EmbeddingModelType value);
std::optional<EmbeddingModelType> embeddingModelTypeFromRaw(std::string_view raw);

}  // namespace folvane
