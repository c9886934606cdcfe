#include "SimilaritySearchKit/EmbedderFactory.h"

#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "SimilaritySearchKit/OpenAIEmbeddings.h"
#include "platform/Log.h"
#include "providers/OpenAI.h"
#include "providers/OpenAISettings.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace {

constexpr const char* testSentence = "Test sentence";

bool encodesTestSentence(EmbeddingsProtocol& model) {
    try {
        return model.encode(testSentence).has_value();
    } catch (const std::exception& error) {
        // The caller falls back to the next way of loading, then to the
        // lexical model: the failure is only worth a log line.
        log(std::string("Failed to encode the test sentence: ") + error.what());
        return false;
    }
}

}  // namespace

EmbedderFactory::EmbedderFactory(const AppPreferences& preferences, Setup setup)
    : preferences_(preferences), setup_(std::move(setup)) {}

std::shared_ptr<const BertTokenizer> EmbedderFactory::tokenizer() {
    std::lock_guard lock(tokenizerMutex_);
    if (!tokenizer_) tokenizer_ = std::make_shared<const BertTokenizer>(setup_.resourceDirectory);
    return tokenizer_;
}

std::shared_ptr<EmbeddingsProtocol> EmbedderFactory::makeDistilbert(int computeUnits) {
    if (setup_.makeDistilbert) return setup_.makeDistilbert(computeUnits);
    return std::make_shared<DistilbertEmbeddings>(
        setup_.modelsDirectory / DistilbertEmbeddings::weightsFileName, tokenizer(), computeUnits);
}

bool EmbedderFactory::localModelInstalled() const {
    return weightsStamp().has_value();
}

std::optional<std::pair<std::uintmax_t, std::filesystem::file_time_type>>
EmbedderFactory::weightsStamp() const {
    std::error_code error;
    const auto path = setup_.modelsDirectory / DistilbertEmbeddings::weightsFileName;
    const auto size = std::filesystem::file_size(path, error);
    if (error) return std::nullopt;
    const auto time = std::filesystem::last_write_time(path, error);
    if (error) return std::nullopt;
    return std::pair{size, time};
}

std::shared_ptr<EmbeddingsProtocol> EmbedderFactory::local() {
    std::lock_guard lock(localMutex_);
    if (local_) {
        if (localType_ != EmbeddingModelType::native) return local_;
        const auto stamp = weightsStamp();
        if (!stamp || stamp == triedWeights_) return local_;
    }
    triedWeights_ = weightsStamp();

    // All compute units first, then the CPU alone. On this platform both run
    // on the CPU from the same file, so a file that does not load is not
    // tried a second time.
    for (const int computeUnits : {2, 0}) {
        std::shared_ptr<EmbeddingsProtocol> model;
        try {
            model = makeDistilbert(computeUnits);
        } catch (const std::exception& error) {
            // Without the encoder the lexical model below answers: a degraded
            // but working index, as intended when no weights are installed.
            log(std::string("Failed to load the Core ML model. Error: ") + error.what());
            break;
        }
        if (!model) break;
        local_ = model;
        localType_ = EmbeddingModelType::distilbert;
        if (encodesTestSentence(*model)) return model;
    }

    local_ = std::make_shared<NativeEmbeddings>("en", NativeEmbeddingType::sentenceEmbedding);
    localType_ = EmbeddingModelType::native;
    return local_;
}

std::shared_ptr<EmbeddingsProtocol> EmbedderFactory::remote(EmbeddingModelType type) {
    const std::string model = type == EmbeddingModelType::textEmbedding3_small
                                  ? "text-embedding-3-small"
                                  : "text-embedding-ada-002";
    const OpenAISettings settings{preferences_.customHost(), preferences_.organizationIdentifier(),
                                  preferences_.openAIKey()};
    auto client = std::make_shared<OpenAI>(setup_.http, builtInConfiguration(settings));
    return std::make_shared<OpenAIEmbeddings>(std::move(client), model);
}

}  // namespace folvane
