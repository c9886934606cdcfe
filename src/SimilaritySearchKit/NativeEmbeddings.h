#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"
#include "SimilaritySearchKit/NativeEmbeddingType.h"
#include "SimilaritySearchKit/NativeTokenizer.h"

namespace folvane {

// A lexical sentence embedding that needs no weights: the text's words (ICU
// word breaks, folded to lower case without accents, English suffixes
// stripped) and its pairs of adjacent content words are hashed into 512
// signed buckets with weights 1 + ln(count), stop words damped, and the sum is
// scaled to unit length. The hash is our own, so a vector is the same on every
// run and every machine.
//
// Every text gets a unit vector, so no cosine with it is ever not a number: a
// text with no words is embedded from its other visible characters, and an
// empty or blank text has one fixed direction of its own. As a word
// embedding, a text that is not exactly one word gives no vector.
//
// encode() keeps no state: it may run from several threads at once.
class NativeEmbeddings final : public EmbeddingsProtocol {
  public:
    static constexpr int dimension = 512;

    explicit NativeEmbeddings(std::string language = "en",
                              NativeEmbeddingType type = NativeEmbeddingType::sentenceEmbedding);

    std::optional<std::vector<float>> encode(const std::string& sentence) override;

    const NativeTokenizer& tokenizer() const { return tokenizer_; }
    const std::string& language() const { return language_; }
    NativeEmbeddingType type() const { return type_; }

    // The form a word is counted under: lower case, no accents or
    // compatibility forms, and for English the plural and -ed/-ing endings
    // removed ("Documents" and "document" meet). Exposed for tests.
    std::string normalizedWord(std::string_view word) const;

  private:
    std::string language_;
    NativeEmbeddingType type_;
    bool english_;
    NativeTokenizer tokenizer_;
};

}  // namespace folvane
