#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// One text to embed.
struct EmbeddingsQuery {
    std::string model;
    std::string input;

    bool operator==(const EmbeddingsQuery&) const = default;
};

nlohmann::json toJson(const EmbeddingsQuery& query);

struct EmbeddingsResult {
    struct Embedding {
        std::string object;
        std::vector<double> embedding;
        int64_t index = 0;

        bool operator==(const Embedding&) const = default;
    };
    struct Usage {
        int64_t promptTokens = 0;
        int64_t totalTokens = 0;

        bool operator==(const Usage&) const = default;
    };

    std::vector<Embedding> data;
    std::string model;
    Usage usage;

    // Throws DecodingError.
    static EmbeddingsResult decode(std::string_view text);

    bool operator==(const EmbeddingsResult&) const = default;
};

}  // namespace folvane
