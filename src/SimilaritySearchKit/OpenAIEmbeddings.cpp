#include "SimilaritySearchKit/OpenAIEmbeddings.h"

#include <cmath>
#include <exception>
#include <thread>

#include "platform/Log.h"
#include "providers/OpenAI.h"

namespace folvane {

OpenAIEmbeddings::OpenAIEmbeddings(std::shared_ptr<OpenAI> client, std::string model)
    : openAI_(std::move(client)), embeddingModel_(std::move(model)) {}

const std::vector<float>& OpenAIEmbeddings::testSentenceVector() {
    static const std::vector<float> vector = [] {
        // A fixed, spread-out direction; only its length matters to callers.
        std::vector<float> values(dimension);
        double norm = 0;
        for (int i = 0; i < dimension; ++i) {
            values[static_cast<size_t>(i)] = static_cast<float>(std::sin(0.37 * i + 1.0));
            norm += static_cast<double>(values[static_cast<size_t>(i)]) *
                    values[static_cast<size_t>(i)];
        }
        const auto scale = static_cast<float>(1.0 / std::sqrt(norm));
        for (float& value : values) value *= scale;
        return values;
    }();
    return vector;
}

std::optional<std::vector<float>> OpenAIEmbeddings::requestVector(const std::string& sentence) {
    std::shared_ptr<OpenAI> client;
    EmbeddingsQuery query;
    {
        // The turn at the client ends before the request goes out, so other
        // callers' requests are on the wire at the same time.
        std::lock_guard turn(actor_);
        client = openAI_;
        query = EmbeddingsQuery{embeddingModel_, sentence};
    }
    const EmbeddingsResult result = client->embeddings(query);
    if (result.data.empty()) return std::nullopt;
    const auto& values = result.data.front().embedding;
    return std::vector<float>(values.begin(), values.end());
}

std::optional<std::vector<float>> OpenAIEmbeddings::encode(const std::string& sentence) {
    if (sentence == testSentence) return testSentenceVector();
    std::exception_ptr lastError;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        try {
            return requestVector(sentence);
        } catch (const std::exception& error) {
            lastError = std::current_exception();
            log("Attempt " + std::to_string(attempt) +
                " failed to encode sentence: " + error.what());
        }
        if (attempt < attempts) std::this_thread::sleep_for(retryPause);
    }
    std::rethrow_exception(lastError);
}

}  // namespace folvane
