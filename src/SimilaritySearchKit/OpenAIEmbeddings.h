#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "SimilaritySearchKit/NativeTokenizer.h"

namespace folvane {

class OpenAI;

// Vectors from an OpenAI-compatible embeddings endpoint, one text a request.
//
// The text "Test sentence" gets a constant vector of 1536 floats without a
// request, so building an index (which encodes that text to learn the
// dimension) needs neither the key nor the network. Any other text is sent
// up to three times, 100 ms apart, each failure logged as "Attempt N failed
// to encode sentence: <error>"; after the third the last error is thrown.
// An answer with no data gives no vector at once.
//
// Callers from several threads take turns only to reach the client; their
// requests then run side by side.
class OpenAIEmbeddings final : public EmbeddingsProtocol {
  public:
    static constexpr int dimension = 1536;
    static constexpr int attempts = 3;
    static constexpr std::chrono::milliseconds retryPause{100};
    static constexpr const char* testSentence = "Test sentence";

    OpenAIEmbeddings(std::shared_ptr<OpenAI> client, std::string model);

    std::optional<std::vector<float>> encode(const std::string& sentence) override;

    const std::string& model() const { return embeddingModel_; }
    const OpenAI& client() const { return *openAI_; }
    // Part of the interface of every embedder; encode() does not use it.
    const NativeTokenizer& tokenizer() const { return tokenizer_; }

    // The vector of "Test sentence": 1536 fixed values of unit length.
    static const std::vector<float>& testSentenceVector();

  private:
    // One request; throws what the client throws.
    std::optional<std::vector<float>> requestVector(const std::string& sentence);

    NativeTokenizer tokenizer_;
    std::mutex actor_;
    std::shared_ptr<OpenAI> openAI_;
    std::string embeddingModel_;
};

}  // namespace folvane
