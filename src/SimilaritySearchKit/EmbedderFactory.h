#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "SimilaritySearchKit/Embedders.h"

namespace folvane {

class AppPreferences;
class HttpClient;

// The program's embedders: the local model, made once on first use, and the
// remote one, made anew at each request for it on the key as it stands.
//
// The local model is the BERT encoder when its weights load and encode the
// test sentence (first with all compute units, then CPU only), else the
// lexical NativeEmbeddings. localType() says which, so stored rows name the
// model that made them. The lexical model stands in only until a new weights
// file appears (a download in the running program): the next call loads it.
class EmbedderFactory final : public Embedders {
  public:
    // Makes the BERT encoder for the compute units (2 all, 0 CPU only);
    // throws when it cannot be loaded.
    using DistilbertFactory = std::function<std::shared_ptr<EmbeddingsProtocol>(int computeUnits)>;

    struct Setup {
        // Where the weights file is looked for: `<data directory>/models`.
        std::filesystem::path modelsDirectory;
        // Where the BERT vocabulary is read from.
        std::filesystem::path resourceDirectory;
        // HTTP for the remote embedder, shared with the rest of the program.
        std::shared_ptr<HttpClient> http;
        // Replaces the loading of the BERT encoder from modelsDirectory (tests).
        DistilbertFactory makeDistilbert;
    };

    EmbedderFactory(const AppPreferences& preferences, Setup setup);

    // Concurrent first calls wait for one load.
    std::shared_ptr<EmbeddingsProtocol> local() override;
    // "text-embedding-3-small" for textEmbedding3_small, else
    // "text-embedding-ada-002".
    std::shared_ptr<EmbeddingsProtocol> remote(EmbeddingModelType type) override;
    EmbeddingModelType localType() const override { return localType_.load(); }
    bool localModelInstalled() const override;
    std::shared_ptr<const BertTokenizer> tokenizer() override;

  private:
    std::shared_ptr<EmbeddingsProtocol> makeDistilbert(int computeUnits);
    // The weights file's size and time, or none without a file.
    std::optional<std::pair<std::uintmax_t, std::filesystem::file_time_type>> weightsStamp() const;

    const AppPreferences& preferences_;
    Setup setup_;
    std::mutex tokenizerMutex_;
    std::shared_ptr<const BertTokenizer> tokenizer_;
    std::mutex localMutex_;
    std::shared_ptr<EmbeddingsProtocol> local_;
    std::atomic<EmbeddingModelType> localType_{EmbeddingModelType::distilbert};
    // The weights file as it was when the lexical model took the encoder's
    // place: a file downloaded or replaced since is tried again.
    std::optional<std::pair<std::uintmax_t, std::filesystem::file_time_type>> triedWeights_;
};

}  // namespace folvane
