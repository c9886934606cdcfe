#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "SimilaritySearchKit/BertEncoder.h"
#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/NativeContextualEmbeddings.h"
#include "SimilaritySearchKit/SafetensorsFile.h"
#include "support/SafetensorsWriter.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

struct ReferenceCase {
    std::string name;
    std::string text;
    std::vector<int32_t> ids;  // up to the last real token
    std::vector<float> cls;
    std::vector<float> mean;
};

const std::vector<ReferenceCase>& referenceCases() {
    static const std::vector<ReferenceCase> cases = [] {
        std::ifstream in(test::tinyBertReferencePath());
        const nlohmann::json reference = nlohmann::json::parse(in);
        std::vector<ReferenceCase> result;
        for (const auto& entry : reference.at("cases")) {
            result.push_back({entry.at("name"), entry.at("text"), entry.at("ids"), entry.at("cls"),
                              entry.at("mean")});
        }
        return result;
    }();
    return cases;
}

std::shared_ptr<const BertWeights> tinyWeights() {
    static const auto weights = std::make_shared<const BertWeights>(
        BertWeights::fromFile(SafetensorsFile(test::tinyBertPath())));
    return weights;
}

std::shared_ptr<const BertTokenizer> tokenizer() {
    static const auto shared = std::make_shared<const BertTokenizer>(test::resourceDir());
    return shared;
}

// The model's input: the ids padded to 512 with zeros, the mask 1 where an id is not 0.
BertModelInputs padded(std::vector<int32_t> ids) {
    ids.resize(BertTokenizer::maxLen, 0);
    return BertTokenizer::buildModelInputs(ids);
}

// torch computed the reference in float64; float32 arithmetic stays well within this.
void expectNear(const std::vector<float>& actual, const std::vector<float>& expected,
                const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i], expected[i], 1e-4 * std::max(1.0f, std::fabs(expected[i])))
            << what << " element " << i;
    }
}

class BertEncoderReferenceTest : public testing::TestWithParam<BertKernel> {};

TEST_P(BertEncoderReferenceTest, MatchesTorch) {
    const BertEncoder encoder(tinyWeights(), GetParam());
    for (const ReferenceCase& reference : referenceCases()) {
        const BertModelInputs inputs = padded(reference.ids);
        expectNear(encoder.firstTokenVector(inputs.inputIds, inputs.attentionMask), reference.cls,
                   reference.name + " [CLS]");
        expectNear(encoder.meanTokenVector(inputs.inputIds, inputs.attentionMask), reference.mean,
                   reference.name + " mean");
    }
}

TEST_P(BertEncoderReferenceTest, TrailingPaddingChangesNothing) {
    const BertEncoder encoder(tinyWeights(), GetParam());
    const ReferenceCase& reference = referenceCases()[1];
    const BertModelInputs inputs = padded(reference.ids);
    const std::vector<int32_t> unpaddedMask(reference.ids.size(), 1);
    EXPECT_EQ(encoder.firstTokenVector(inputs.inputIds, inputs.attentionMask),
              encoder.firstTokenVector(reference.ids, unpaddedMask));
}

INSTANTIATE_TEST_SUITE_P(Kernels, BertEncoderReferenceTest,
                         testing::ValuesIn(BertEncoder::availableKernels()),
                         [](const auto& test) { return std::string(bertKernelName(test.param)); });

TEST(BertEncoderTest, RejectsInputsOutsideTheModel) {
    const BertEncoder encoder(tinyWeights());
    const std::vector<int32_t> ones(3, 1);
    EXPECT_THROW(encoder.firstTokenVector(std::vector<int32_t>{101, 30522, 102}, ones),
                 std::invalid_argument);
    EXPECT_THROW(encoder.firstTokenVector(std::vector<int32_t>{101, -1, 102}, ones),
                 std::invalid_argument);
    EXPECT_THROW(encoder.firstTokenVector(std::vector<int32_t>{101, 102}, ones),
                 std::invalid_argument);
    EXPECT_THROW(encoder.firstTokenVector(std::vector<int32_t>{0, 0}, std::vector<int32_t>{0, 0}),
                 std::invalid_argument);
    const std::vector<int32_t> tooLong(513, 1000);
    EXPECT_THROW(encoder.meanTokenVector(tooLong, std::vector<int32_t>(513, 1)),
                 std::invalid_argument);
    // An id past the last real position is padding and is not looked up.
    EXPECT_NO_THROW(encoder.firstTokenVector(std::vector<int32_t>{101, 102, 99999},
                                             std::vector<int32_t>{1, 1, 0}));
}

TEST(DistilbertEmbeddingsTest, TokenizesAndEncodesLikeTheReference) {
    DistilbertEmbeddings embeddings(std::make_shared<const BertEncoder>(tinyWeights()),
                                    tokenizer());
    NativeContextualEmbeddings contextual(std::make_shared<const BertEncoder>(tinyWeights()),
                                          tokenizer());
    EXPECT_EQ(contextual.dimension(), 24);
    for (const ReferenceCase& reference : referenceCases()) {
        std::vector<int32_t> ids = tokenizer()->buildModelTokens(reference.text);
        ids.resize(reference.ids.size());
        EXPECT_EQ(ids, reference.ids) << reference.name;

        const auto vector = embeddings.encode(reference.text);
        ASSERT_TRUE(vector.has_value()) << reference.name;
        expectNear(*vector, reference.cls, reference.name + " [CLS]");
        const auto mean = contextual.encode(reference.text);
        ASSERT_TRUE(mean.has_value()) << reference.name;
        expectNear(*mean, reference.mean, reference.name + " mean");
    }
}

TEST(DistilbertEmbeddingsTest, ConcurrentEncodesGiveIdenticalVectors) {
    DistilbertEmbeddings embeddings(std::make_shared<const BertEncoder>(tinyWeights()),
                                    tokenizer());
    std::vector<std::vector<float>> expected;
    for (const ReferenceCase& reference : referenceCases())
        expected.push_back(embeddings.encode(reference.text).value());

    constexpr int threadCount = 4;
    std::vector<std::vector<std::vector<float>>> results(threadCount);
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&, t] {
            // Each thread walks the cases from a different start, so different
            // texts run side by side.
            const std::size_t count = referenceCases().size();
            results[t].resize(count);
            for (std::size_t step = 0; step < 2 * count; ++step) {
                const std::size_t index = (step + t) % count;
                results[t][index] = embeddings.encode(referenceCases()[index].text).value();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int t = 0; t < threadCount; ++t) EXPECT_EQ(results[t], expected) << "thread " << t;
}

TEST(DistilbertEmbeddingsTest, RefusesAModelOfTheWrongSize) {
    const test::TempDir dir;
    try {
        DistilbertEmbeddings(test::tinyBertPath(), tokenizer(), 2);
        FAIL() << "accepted a 24-wide model";
    } catch (const EmbeddingModelLoadError& error) {
        EXPECT_NE(std::string(error.what()).find("gives 24 outputs, not 768"), std::string::npos)
            << error.what();
    }
    EXPECT_THROW(DistilbertEmbeddings(dir / DistilbertEmbeddings::weightsFileName, tokenizer(), 0),
                 EmbeddingModelLoadError);

    BertWeights fewWords = *tinyWeights();
    fewWords.vocabularySize = 1000;
    fewWords.wordEmbeddings.resize(1000 * 24);
    EXPECT_THROW(DistilbertEmbeddings(std::make_shared<const BertEncoder>(
                                          std::make_shared<const BertWeights>(std::move(fewWords))),
                                      tokenizer()),
                 EmbeddingModelLoadError);

    BertWeights fewPositions = *tinyWeights();
    fewPositions.maxPositions = 128;
    fewPositions.positionEmbeddings.resize(128 * 24);
    EXPECT_THROW(
        DistilbertEmbeddings(std::make_shared<const BertEncoder>(
                                 std::make_shared<const BertWeights>(std::move(fewPositions))),
                             tokenizer()),
        EmbeddingModelLoadError);

    BertWeights misshapen = *tinyWeights();
    misshapen.layers[1].ffnInBias.pop_back();
    EXPECT_THROW(BertEncoder(std::make_shared<const BertWeights>(std::move(misshapen))),
                 std::invalid_argument);
}

// Variants of the tiny model's file, each with one fault.
struct ModelVariant {
    const char* name;
    void (*alter)(test::RawTensors& tensors, std::map<std::string, std::string>& metadata);
    const char* reason;  // empty: the variant loads
};

void eraseNamed(test::RawTensors& tensors, const std::string& prefix) {
    std::erase_if(tensors, [&](const auto& entry) { return entry.first.starts_with(prefix); });
}

const ModelVariant modelVariants[] = {
    {"WithoutPrefix",
     [](test::RawTensors& tensors, std::map<std::string, std::string>&) {
         for (auto& entry : tensors)
             entry.first = entry.first.substr(std::string("distilbert.").size());
     },
     ""},
    {"MissingTensor",
     [](test::RawTensors& tensors, std::map<std::string, std::string>&) {
         eraseNamed(tensors, "distilbert.transformer.layer.1.ffn.lin2.bias");
     },
     "has no tensor distilbert.transformer.layer.1.ffn.lin2.bias"},
    {"MissingWordEmbeddings",
     [](test::RawTensors& tensors, std::map<std::string, std::string>&) {
         eraseNamed(tensors, "distilbert.embeddings.word_embeddings");
     },
     "has no tensor embeddings.word_embeddings.weight"},
    {"NoLayers",
     [](test::RawTensors& tensors, std::map<std::string, std::string>&) {
         eraseNamed(tensors, "distilbert.transformer.");
     },
     "has no transformer.layer.0"},
    {"WrongShape",
     [](test::RawTensors& tensors, std::map<std::string, std::string>&) {
         for (auto& [name, tensor] : tensors) {
             if (name == "distilbert.transformer.layer.1.ffn.lin1.weight") tensor.shape = {32, 48};
         }
     },
     "has the shape [32, 48] where [64, 24] was expected"},
    {"NoHeadCount",
     [](test::RawTensors&, std::map<std::string, std::string>& metadata) { metadata.clear(); },
     "hidden size 24 is not a multiple of 64"},
    {"HeadCountNotDividing",
     [](test::RawTensors&, std::map<std::string, std::string>& metadata) {
         metadata["n_heads"] = "5";
     },
     "n_heads \"5\" does not divide the hidden size 24"},
};

class BertModelFileTest : public testing::TestWithParam<ModelVariant> {};

TEST_P(BertModelFileTest, LoadsOrSaysWhatIsWrong) {
    const SafetensorsFile original(test::tinyBertPath());
    test::RawTensors tensors = test::readTensors(original);
    std::map<std::string, std::string> metadata{{"n_heads", "4"}};
    GetParam().alter(tensors, metadata);
    const test::TempDir dir;
    const std::string path = dir / "model.safetensors";
    test::writeFile(path, test::safetensorsBytes(tensors, metadata));

    const std::string reason = GetParam().reason;
    if (reason.empty()) {
        const BertEncoder encoder(path);
        const BertModelInputs inputs = padded(referenceCases()[0].ids);
        EXPECT_EQ(
            encoder.firstTokenVector(inputs.inputIds, inputs.attentionMask),
            BertEncoder(tinyWeights()).firstTokenVector(inputs.inputIds, inputs.attentionMask));
        return;
    }
    try {
        BertEncoder encoder(path);
        FAIL() << "loaded a damaged model";
    } catch (const EmbeddingModelLoadError& error) {
        EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, BertModelFileTest, testing::ValuesIn(modelVariants),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace folvane
