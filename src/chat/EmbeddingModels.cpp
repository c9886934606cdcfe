#include "chat/EmbeddingModels.h"

#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "SimilaritySearchKit/OpenAIEmbeddings.h"
#include "platform/CurlHttpClient.h"
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
        log(std::string("Failed to encode the test sentence: ") + error.what());
        return false;
    }
}

}  // namespace

EmbeddingModels::EmbeddingModels(const AppPreferences& preferences, Setup setup)
    : preferences_(preferences), setup_(std::move(setup)) {}

std::shared_ptr<EmbeddingsProtocol> EmbeddingModels::makeDistilbert(int computeUnits) {
    if (setup_.makeDistilbert) return setup_.makeDistilbert(computeUnits);
    if (!bertTokenizer_) {
        bertTokenizer_ = std::make_shared<const BertTokenizer>(setup_.resourceDirectory);
    }
    return std::make_shared<DistilbertEmbeddings>(
        setup_.modelsDirectory / DistilbertEmbeddings::weightsFileName, bertTokenizer_,
        computeUnits);
}

std::shared_ptr<EmbeddingsProtocol> EmbeddingModels::loadLocalEmbeddingModel() {
    std::lock_guard lock(localMutex_);
    if (localEmbeddingModel_) return localEmbeddingModel_;

    // All compute units first, then the CPU alone. On this platform both run
    // on the CPU from the same file, so a file that does not load is not
    // tried a second time.
    for (const int computeUnits : {2, 0}) {
        std::shared_ptr<EmbeddingsProtocol> model;
        try {
            model = makeDistilbert(computeUnits);
        } catch (const std::exception& error) {
            log(std::string("Failed to load the Core ML model. Error: ") + error.what());
            break;
        }
        if (!model) {
            log("Failed to load the Core ML model.");
            break;
        }
        localEmbeddingModel_ = model;
        localEmbeddingType_ = EmbeddingModelType::distilbert;
        if (encodesTestSentence(*model)) return model;
    }

    localEmbeddingModel_ =
        std::make_shared<NativeEmbeddings>("en", NativeEmbeddingType::sentenceEmbedding);
    localEmbeddingType_ = EmbeddingModelType::native;
    return localEmbeddingModel_;
}

std::shared_ptr<HttpClient> EmbeddingModels::http() {
    if (!setup_.http) setup_.http = std::make_shared<CurlHttpClient>();
    return setup_.http;
}

std::shared_ptr<EmbeddingsProtocol> EmbeddingModels::remoteEmbeddingModel(EmbeddingModelType type) {
    const std::string model = type == EmbeddingModelType::textEmbedding3_small
                                  ? "text-embedding-3-small"
                                  : "text-embedding-ada-002";
    const OpenAISettings settings{preferences_.customHost(), preferences_.organizationIdentifier(),
                                  preferences_.openAIKey()};
    std::lock_guard lock(remoteMutex_);
    auto client = std::make_shared<OpenAI>(http(), builtInConfiguration(settings));
    openAIEmbeddingModel_ = std::make_shared<OpenAIEmbeddings>(std::move(client), model);
    return openAIEmbeddingModel_;
}

}  // namespace folvane
