#include "SimilaritySearchKit/RecursiveTokenSplitter.h"

#include <algorithm>

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {

TextSplitResult recursiveTokenSplit(const TokenizerProtocol& tokenizer, std::string_view text,
                                    int chunkSize) {
    const long limit = std::min(chunkSize, maxChunkTokens);
    TextSplitResult result;
    result.tokens.emplace();

    for (std::string_view separator : {"\n\n", "\n", ".", " ", ""}) {
        const std::vector<std::string_view> parts = textunits::splitKeepingEmpty(text, separator);
        std::vector<std::vector<std::string>> partTokens;
        partTokens.reserve(parts.size());
        bool fits = true;
        for (std::string_view part : parts) {
            partTokens.push_back(tokenizer.tokenize(part));
            if (static_cast<long>(partTokens.back().size()) > limit) {
                fits = false;
                break;
            }
        }
        if (!fits) continue;

        std::string current;
        std::vector<std::string> currentTokens;
        long count = 0;
        auto emit = [&] {
            result.chunks.emplace_back(textunits::trimSpacesAndTabs(current));
            result.tokens->push_back(std::move(currentTokens));
        };
        for (size_t i = 0; i < parts.size(); ++i) {
            std::vector<std::string>& tokens = partTokens[i];
            const long sum = count + static_cast<long>(tokens.size());
            if (sum < limit) {
                currentTokens.insert(currentTokens.end(), tokens.begin(), tokens.end());
                current.append(parts[i]).append(separator);
                // Tokenizing the whole chunk again charges the separators too.
                std::vector<std::string> whole = tokenizer.tokenize(current);
                if (whole.size() > currentTokens.size()) {
                    currentTokens = std::move(whole);
                    count = static_cast<long>(currentTokens.size());
                } else {
                    count = sum;
                }
            } else {
                emit();
                current.assign(parts[i]).append(separator);
                count = static_cast<long>(tokens.size());
                currentTokens = std::move(tokens);
            }
        }
        if (!current.empty()) emit();
        return result;
    }
    return result;
}

RecursiveTokenSplitter::RecursiveTokenSplitter(std::shared_ptr<const TokenizerProtocol> tokenizer)
    : tokenizer_(std::move(tokenizer)) {}

TextSplitResult RecursiveTokenSplitter::split(std::string_view text, int chunkSize, int) const {
    return recursiveTokenSplit(*tokenizer_, text, chunkSize);
}

}  // namespace folvane
