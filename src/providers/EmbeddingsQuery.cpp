#include "providers/EmbeddingsQuery.h"

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

nlohmann::json toJson(const EmbeddingsQuery& query) {
    return {{"model", query.model}, {"input", query.input}};
}

EmbeddingsResult EmbeddingsResult::decode(std::string_view text) {
    auto value = rd::parse(text);
    rd::object(value, "EmbeddingsResult");
    EmbeddingsResult result;
    for (const auto& entry : rd::array(rd::required(value, "data"), "data")) {
        rd::object(entry, "data");
        Embedding embedding;
        embedding.object = rd::string(rd::required(entry, "object"), "object");
        for (const auto& number : rd::array(rd::required(entry, "embedding"), "embedding")) {
            embedding.embedding.push_back(rd::number(number, "embedding"));
        }
        embedding.index = rd::integer(rd::required(entry, "index"), "index");
        result.data.push_back(std::move(embedding));
    }
    result.model = rd::string(rd::required(value, "model"), "model");
    const auto& usage = rd::object(rd::required(value, "usage"), "usage");
    result.usage.promptTokens = rd::integer(rd::required(usage, "prompt_tokens"), "prompt_tokens");
    result.usage.totalTokens = rd::integer(rd::required(usage, "total_tokens"), "total_tokens");
    return result;
}

}  // namespace folvane
