#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>

#include "SimilaritySearchKit/EmbeddingModelType.h"
#include "SimilaritySearchKit/EmbeddingsProtocol.h"

namespace folvane {

class AppPreferences;
class BertTokenizer;
class HttpClient;

// The chat service's embedders: the local model, made once on first use, and
// the remote one, made anew at each request for it.
//
// The local model is the BERT encoder when its weights load and encode the
// test sentence (first with all compute units, then CPU only), else the
// lexical NativeEmbeddings. localEmbeddingType() says which, so stored rows
// name the model that made them.
class EmbeddingModels {
  public:
    // Makes the BERT encoder for the compute units (2 all, 0 CPU only);
    // throws when it cannot be loaded.
    using DistilbertFactory = std::function<std::shared_ptr<EmbeddingsProtocol>(int computeUnits)>;

    struct Setup {
        // Where the weights file is looked for: `<data directory>/models`.
        std::filesystem::path modelsDirectory;
        // Where the BERT vocabulary is read from.
        std::filesystem::path resourceDirectory;
        // HTTP for the remote embedder; a curl client is made when absent.
        std::shared_ptr<HttpClient> http;
        // Replaces the loading of the BERT encoder from modelsDirectory (tests).
        DistilbertFactory makeDistilbert;
    };

    EmbeddingModels(const AppPreferences& preferences, Setup setup);

    // The local embedder, loaded at the first call; concurrent first calls
    // wait for one load.
    std::shared_ptr<EmbeddingsProtocol> loadLocalEmbeddingModel();
    // A new OpenAI embedder on the key and host as they are now:
    // "text-embedding-3-small" for textEmbedding3_small, else
    // "text-embedding-ada-002".
    std::shared_ptr<EmbeddingsProtocol> remoteEmbeddingModel(EmbeddingModelType type);

    EmbeddingModelType localEmbeddingType() const { return localEmbeddingType_.load(); }

  private:
    std::shared_ptr<EmbeddingsProtocol> makeDistilbert(int computeUnits);
    std::shared_ptr<HttpClient> http();

    const AppPreferences& preferences_;
    Setup setup_;
    std::shared_ptr<const BertTokenizer> bertTokenizer_;
    std::mutex localMutex_;
    std::shared_ptr<EmbeddingsProtocol> localEmbeddingModel_;
    std::mutex remoteMutex_;
    std::shared_ptr<EmbeddingsProtocol> openAIEmbeddingModel_;
    std::atomic<EmbeddingModelType> localEmbeddingType_{EmbeddingModelType::distilbert};
};

}  // namespace folvane
