#include "SimilaritySearchKit/WordpieceTokenizer.h"

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {

WordpieceTokenizer::WordpieceTokenizer(std::shared_ptr<const BertVocabulary> vocab,
                                       std::string unkToken, int maxInputCharsPerWord)
    : vocab_(std::move(vocab)),
      unkToken_(std::move(unkToken)),
      maxInputCharsPerWord_(maxInputCharsPerWord) {}

std::vector<std::string> WordpieceTokenizer::tokenize(std::string_view word) const {
    const std::vector<std::string_view> characters = textunits::characters(word);
    if (characters.size() > static_cast<size_t>(std::max(maxInputCharsPerWord_, 0))) {
        return {unkToken_};
    }
    // Byte offset of the start of character i; offsets[size] is the end.
    std::vector<size_t> offsets;
    offsets.reserve(characters.size() + 1);
    for (std::string_view character : characters) {
        offsets.push_back(static_cast<size_t>(character.data() - word.data()));
    }
    offsets.push_back(word.size());

    std::vector<std::string> pieces;
    std::string candidate;
    size_t start = 0;
    while (start < characters.size()) {
        size_t end = characters.size();
        while (true) {
            candidate.assign(start > 0 ? "##" : "");
            candidate += word.substr(offsets[start], offsets[end] - offsets[start]);
            if (vocab_->contains(candidate)) {
                pieces.push_back(candidate);
                start = end;
                break;
            }
            --end;
            if (end <= start) return {unkToken_};
        }
    }
    return pieces;
}

}  // namespace folvane
