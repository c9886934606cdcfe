#pragma once

#include <memory>

#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/EmbeddingModelType.h"
#include "SimilaritySearchKit/EmbeddingsProtocol.h"

namespace folvane {

// Where the indexer and the retrieval get their embedders and the tokenizer
// that cuts documents into chunks. EmbedderFactory is the program's.
class Embedders {
  public:
    virtual ~Embedders() = default;

    // The on-device embedder, made once.
    virtual std::shared_ptr<EmbeddingsProtocol> local() = 0;
    // A remote embedder (openAI or textEmbedding3_small) on the key as it is
    // now.
    virtual std::shared_ptr<EmbeddingsProtocol> remote(EmbeddingModelType type) = 0;
    // Which model local() is, as the stored rows name it.
    virtual EmbeddingModelType localType() const = 0;
    // Whether the weights of the BERT encoder are on disk, loadable or not.
    virtual bool localModelInstalled() const = 0;
    // The BERT vocabulary's tokenizer, read once. Throws when it cannot be read.
    virtual std::shared_ptr<const BertTokenizer> tokenizer() = 0;
};

}  // namespace folvane
