#include "SimilaritySearchKit/TokenSplitter.h"

#include <algorithm>

#include "SimilaritySearchKit/RecursiveTokenSplitter.h"
#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {
namespace {

// The UTF-16 offset of the last ".", "?", "!" or "\n" in `chunk`, if any.
std::optional<size_t> lastSentenceEnd(std::string_view chunk) {
    const size_t found = chunk.find_last_of(".?!\n");
    if (found == std::string_view::npos) return std::nullopt;
    return textunits::utf16Length(chunk.substr(0, found));
}

}  // namespace

TokenSplitter::TokenSplitter(std::shared_ptr<const TokenizerProtocol> tokenizer)
    : tokenizer_(std::move(tokenizer)) {}

TextSplitResult TokenSplitter::split(std::string_view text, int chunkSize, int) const {
    TextSplitResult result;
    result.tokens.emplace();
    if (textunits::trimSpacesAndTabs(text).empty()) return result;

    // A limit below one token could never advance.
    const size_t limit = static_cast<size_t>(std::max(std::min(chunkSize, maxChunkTokens), 1));
    const std::vector<std::string> tokens = tokenizer_->tokenize(text);
    size_t position = 0;
    while (position < tokens.size()) {
        const size_t spanEnd = std::min(position + limit, tokens.size());
        std::vector<std::string> span(tokens.begin() + static_cast<long>(position),
                                      tokens.begin() + static_cast<long>(spanEnd));
        std::string chunk = tokenizer_->detokenize(span);
        if (textunits::trimSpacesAndTabs(chunk).empty()) {
            position = spanEnd;
            continue;
        }
        if (const std::optional<size_t> end = lastSentenceEnd(chunk)) {
            const std::vector<std::string_view> characters = textunits::characters(chunk);
            const size_t keep = std::min(*end + 1, characters.size() - 1);
            chunk =
                keep == 0
                    ? std::string()
                    : std::string(chunk.data(),
                                  static_cast<size_t>(characters[keep - 1].data() +
                                                      characters[keep - 1].size() - chunk.data()));
        }
        std::replace(chunk.begin(), chunk.end(), '\n', ' ');
        chunk = std::string(textunits::trimSpacesAndTabs(chunk));

        // The text emitted consumes its own tokens: at least one, at most all
        // that remain, so that the loop always ends.
        const size_t consumed = tokenizer_->tokenize(chunk).size();
        position += std::clamp<size_t>(consumed, 1, tokens.size() - position);
        result.chunks.push_back(std::move(chunk));
        result.tokens->push_back(std::move(span));
    }
    return result;
}

}  // namespace folvane
