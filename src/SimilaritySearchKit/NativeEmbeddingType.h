#pragma once

namespace folvane {

// What NativeEmbeddings embeds: a whole text, or a single word.
enum class NativeEmbeddingType { wordEmbedding, sentenceEmbedding };

}  // namespace folvane
