#pragma once

#include <vector>

namespace folvane {

class SafetensorsFile;

// One transformer block. Matrices are row-major [out, in], as a linear layer
// stores them; the query, key and value projections are stacked into one
// [3 * hidden, hidden] matrix.
struct BertLayerWeights {
    std::vector<float> qkvWeight, qkvBias;
    std::vector<float> outWeight, outBias;
    std::vector<float> attentionNormWeight, attentionNormBias;
    std::vector<float> ffnInWeight, ffnInBias;
    std::vector<float> ffnOutWeight, ffnOutBias;
    std::vector<float> outputNormWeight, outputNormBias;
};

// The weights and the dimensions of a DistilBERT encoder: word and position
// embeddings, their LayerNorm, then the blocks.
struct BertWeights {
    int vocabularySize = 0;
    int maxPositions = 0;
    int hiddenSize = 0;
    int headCount = 0;
    int ffnSize = 0;
    std::vector<float> wordEmbeddings;      // [vocabularySize, hiddenSize]
    std::vector<float> positionEmbeddings;  // [maxPositions, hiddenSize]
    std::vector<float> embeddingNormWeight, embeddingNormBias;
    std::vector<BertLayerWeights> layers;

    // Reads the tensors under their DistilBERT names, with or without the
    // "distilbert." prefix: embeddings.word_embeddings.weight,
    // transformer.layer.N.attention.q_lin.weight and so on. The dimensions come
    // from the shapes; the head count from the metadata entry "n_heads" when
    // the file has one, else one head per 64 hidden units. Throws
    // EmbeddingModelLoadError naming the missing or misshapen tensor.
    static BertWeights fromFile(const SafetensorsFile& file);

    // Throws std::invalid_argument when the sizes of the vectors do not match
    // the dimensions (weights built in code rather than read).
    void checkShapes() const;
};

}  // namespace folvane
