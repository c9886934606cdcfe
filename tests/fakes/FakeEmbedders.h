#pragma once

#include <functional>
#include <memory>

#include "SimilaritySearchKit/Embedders.h"
#include "support/TempDir.h"

namespace folvane::test {

// Embedders that hand out the embedders a test made, with the real BERT
// vocabulary for the splitter.
class FakeEmbedders final : public Embedders {
  public:
    std::function<std::shared_ptr<EmbeddingsProtocol>()> makeLocal;
    std::function<std::shared_ptr<EmbeddingsProtocol>(EmbeddingModelType)> makeRemote;
    EmbeddingModelType type = EmbeddingModelType::native;
    bool installed = false;

    std::shared_ptr<EmbeddingsProtocol> local() override { return makeLocal(); }
    std::shared_ptr<EmbeddingsProtocol> remote(EmbeddingModelType modelType) override {
        return makeRemote(modelType);
    }
    EmbeddingModelType localType() const override { return type; }
    bool localModelInstalled() const override { return installed; }
    std::shared_ptr<const BertTokenizer> tokenizer() override { return tokenizer_; }

  private:
    std::shared_ptr<const BertTokenizer> tokenizer_ =
        std::make_shared<const BertTokenizer>(resourceDir());
};

}  // namespace folvane::test
