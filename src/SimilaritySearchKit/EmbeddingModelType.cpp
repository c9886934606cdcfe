#include "SimilaritySearchKit/EmbeddingModelType.h"

#include <array>
#include <utility>

namespace folvane {

namespace {

constexpr std::array<std::pair<EmbeddingModelType, std::string_view>, 7> rawValues{{
    {EmbeddingModelType::distilbert, "distilbert"},
    {EmbeddingModelType::minilmAll, "minilmAll"},
    {EmbeddingModelType::minilmMultiQA, "minilmMultiQA"},
    {EmbeddingModelType::native, "native"},
    {EmbeddingModelType::openAI, "text-embedding-ada-002"},
    {EmbeddingModelType::textEmbedding3_small, "text-embedding-3-small"},
    {EmbeddingModelType::jina, "jina-v2"},
}};

}  // namespace

std::string_view rawValue(EmbeddingModelType value) {
    for (const auto& [type, raw] : rawValues) {
        if (type == value) return raw;
    }
    return "distilbert";
}

std::optional<EmbeddingModelType> embeddingModelTypeFromRaw(std::string_view raw) {
    for (const auto& [type, text] : rawValues) {
        if (text == raw) return type;
    }
    return std::nullopt;
}

}  // namespace folvane
