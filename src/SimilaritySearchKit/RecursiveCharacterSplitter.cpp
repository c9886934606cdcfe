#include "SimilaritySearchKit/RecursiveCharacterSplitter.h"

#include <algorithm>

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {

TextSplitResult RecursiveCharacterSplitter::split(std::string_view text, int chunkSize, int) const {
    TextSplitResult result;
    result.tokens.emplace();
    for (std::string_view separator : {"\n\n", "\n", ".", " "}) {
        const std::vector<std::string_view> parts = textunits::splitKeepingEmpty(text, separator);
        std::vector<size_t> elementCounts;
        bool fits = true;
        for (std::string_view part : parts) {
            const std::vector<std::string> pieces =
                characterSplitter_.split(part, chunkSize, 0).chunks;
            fits = std::none_of(pieces.begin(), pieces.end(), [&](const std::string& piece) {
                return textunits::characterCount(piece) >
                       static_cast<size_t>(std::max(chunkSize, 0));
            });
            if (!fits) break;
            elementCounts.push_back(pieces.size());
        }
        if (!fits) continue;

        auto emit = [&](const std::string& current) {
            result.chunks.emplace_back(textunits::trimSpacesAndTabs(current));
            result.tokens->push_back(characterSplitter_.split(current, chunkSize, 0).chunks);
        };
        std::string current;
        size_t count = 0;
        for (size_t i = 0; i < parts.size(); ++i) {
            count += elementCounts[i];
            if (static_cast<long>(count) < chunkSize) {
                current.append(parts[i]).append(separator);
            } else {
                emit(current);
                current.assign(parts[i]).append(separator);
                count = elementCounts[i];
            }
        }
        if (!current.empty()) emit(current);
        return result;
    }
    return result;
}

}  // namespace folvane
