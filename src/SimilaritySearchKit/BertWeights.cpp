#include "SimilaritySearchKit/BertWeights.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "SimilaritySearchKit/SafetensorsFile.h"

namespace folvane {
namespace {

constexpr int defaultHeadWidth = 64;

class Reader {
  public:
    Reader(const SafetensorsFile& file, std::string prefix)
        : file_(file), prefix_(std::move(prefix)) {}

    bool has(const std::string& name) const { return file_.contains(prefix_ + name); }

    const std::vector<int64_t>& shape(const std::string& name) const {
        return file_.tensor(prefix_ + name).shape;
    }

    std::vector<float> read(const std::string& name, const std::vector<int64_t>& expected) const {
        const std::vector<int64_t>& actual = shape(name);
        if (actual != expected)
            file_.fail("the tensor " + prefix_ + name + " has the shape " +
                       SafetensorsFile::shapeText(actual) + " where " +
                       SafetensorsFile::shapeText(expected) + " was expected");
        return file_.floats(prefix_ + name);
    }

    int dimension(const std::string& name, std::size_t rank, std::size_t index) const {
        const std::vector<int64_t>& actual = shape(name);
        if (actual.size() != rank || actual[index] <= 0 || actual[index] > (1 << 30))
            file_.fail("the tensor " + prefix_ + name + " has the unexpected shape " +
                       SafetensorsFile::shapeText(actual));
        return static_cast<int>(actual[index]);
    }

  private:
    const SafetensorsFile& file_;
    std::string prefix_;
};

void requireSize(const std::vector<float>& values, std::size_t size, const char* what) {
    if (values.size() != size)
        throw std::invalid_argument(std::string("BERT weights: ") + what + " holds " +
                                    std::to_string(values.size()) + " values, not " +
                                    std::to_string(size));
}

}  // namespace

BertWeights BertWeights::fromFile(const SafetensorsFile& file) {
    const std::string words = "embeddings.word_embeddings.weight";
    const Reader reader(file, file.contains("distilbert." + words) ? "distilbert." : "");
    if (!reader.has(words)) file.fail("the file has no tensor " + words);

    BertWeights weights;
    weights.vocabularySize = reader.dimension(words, 2, 0);
    weights.hiddenSize = reader.dimension(words, 2, 1);
    weights.maxPositions = reader.dimension("embeddings.position_embeddings.weight", 2, 0);
    const int64_t hidden = weights.hiddenSize;

    if (const auto heads = file.metadata("n_heads")) {
        int value = 0;
        const auto [end, error] =
            std::from_chars(heads->data(), heads->data() + heads->size(), value);
        if (error != std::errc() || end != heads->data() + heads->size() || value <= 0 ||
            hidden % value != 0)
            file.fail("the metadata n_heads \"" + *heads + "\" does not divide the hidden size " +
                      std::to_string(hidden));
        weights.headCount = value;
    } else {
        if (hidden % defaultHeadWidth != 0)
            file.fail("the hidden size " + std::to_string(hidden) +
                      " is not a multiple of 64 and the metadata gives no n_heads");
        weights.headCount = weights.hiddenSize / defaultHeadWidth;
    }

    weights.wordEmbeddings = reader.read(words, {weights.vocabularySize, hidden});
    weights.positionEmbeddings =
        reader.read("embeddings.position_embeddings.weight", {weights.maxPositions, hidden});
    weights.embeddingNormWeight = reader.read("embeddings.LayerNorm.weight", {hidden});
    weights.embeddingNormBias = reader.read("embeddings.LayerNorm.bias", {hidden});

    for (int index = 0;; ++index) {
        const std::string layer = "transformer.layer." + std::to_string(index) + ".";
        if (!reader.has(layer + "attention.q_lin.weight")) break;
        if (index == 0) weights.ffnSize = reader.dimension(layer + "ffn.lin1.weight", 2, 0);
        const int64_t ffn = weights.ffnSize;

        BertLayerWeights block;
        for (const char* projection : {"q_lin", "k_lin", "v_lin"}) {
            const std::string name = layer + "attention." + projection;
            const auto weight = reader.read(name + ".weight", {hidden, hidden});
            const auto bias = reader.read(name + ".bias", {hidden});
            block.qkvWeight.insert(block.qkvWeight.end(), weight.begin(), weight.end());
            block.qkvBias.insert(block.qkvBias.end(), bias.begin(), bias.end());
        }
        block.outWeight = reader.read(layer + "attention.out_lin.weight", {hidden, hidden});
        block.outBias = reader.read(layer + "attention.out_lin.bias", {hidden});
        block.attentionNormWeight = reader.read(layer + "sa_layer_norm.weight", {hidden});
        block.attentionNormBias = reader.read(layer + "sa_layer_norm.bias", {hidden});
        block.ffnInWeight = reader.read(layer + "ffn.lin1.weight", {ffn, hidden});
        block.ffnInBias = reader.read(layer + "ffn.lin1.bias", {ffn});
        block.ffnOutWeight = reader.read(layer + "ffn.lin2.weight", {hidden, ffn});
        block.ffnOutBias = reader.read(layer + "ffn.lin2.bias", {hidden});
        block.outputNormWeight = reader.read(layer + "output_layer_norm.weight", {hidden});
        block.outputNormBias = reader.read(layer + "output_layer_norm.bias", {hidden});
        weights.layers.push_back(std::move(block));
    }
    if (weights.layers.empty()) file.fail("the file has no transformer.layer.0");
    return weights;
}

void BertWeights::checkShapes() const {
    if (vocabularySize <= 0 || maxPositions <= 0 || hiddenSize <= 0 || headCount <= 0 ||
        ffnSize <= 0 || hiddenSize % headCount != 0 || layers.empty())
        throw std::invalid_argument("BERT weights: invalid dimensions");
    const std::size_t hidden = hiddenSize, ffn = ffnSize;
    requireSize(wordEmbeddings, std::size_t(vocabularySize) * hidden, "wordEmbeddings");
    requireSize(positionEmbeddings, std::size_t(maxPositions) * hidden, "positionEmbeddings");
    requireSize(embeddingNormWeight, hidden, "embeddingNormWeight");
    requireSize(embeddingNormBias, hidden, "embeddingNormBias");
    for (const BertLayerWeights& layer : layers) {
        requireSize(layer.qkvWeight, 3 * hidden * hidden, "qkvWeight");
        requireSize(layer.qkvBias, 3 * hidden, "qkvBias");
        requireSize(layer.outWeight, hidden * hidden, "outWeight");
        requireSize(layer.outBias, hidden, "outBias");
        requireSize(layer.attentionNormWeight, hidden, "attentionNormWeight");
        requireSize(layer.attentionNormBias, hidden, "attentionNormBias");
        requireSize(layer.ffnInWeight, ffn * hidden, "ffnInWeight");
        requireSize(layer.ffnInBias, ffn, "ffnInBias");
        requireSize(layer.ffnOutWeight, hidden * ffn, "ffnOutWeight");
        requireSize(layer.ffnOutBias, hidden, "ffnOutBias");
        requireSize(layer.outputNormWeight, hidden, "outputNormWeight");
        requireSize(layer.outputNormBias, hidden, "outputNormBias");
    }
}

}  // namespace folvane
