#include "SimilaritySearchKit/CharacterSplitter.h"

#include <algorithm>

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane {

CharacterSplitter::CharacterSplitter(std::optional<std::string> separator)
    : separator_(separator.value_or("")) {}

TextSplitResult CharacterSplitter::split(std::string_view text, int chunkSize,
                                         int chunkOverlap) const {
    TextSplitResult result;
    auto emit = [&](const std::vector<std::string>& pieces) {
        result.chunks.emplace_back(
            textunits::trimSpacesAndTabs(textunits::join(pieces, separator_)));
    };
    const size_t overlap = static_cast<size_t>(std::max(chunkOverlap, 0));

    std::vector<std::string> current;
    long count = 0;
    for (std::string_view piece : textunits::splitKeepingEmpty(text, separator_)) {
        if (count >= chunkSize) {
            emit(current);
            if (current.size() > overlap) {
                current.erase(current.begin(), current.end() - static_cast<long>(overlap));
            }
            count = static_cast<long>(current.size());
        }
        current.emplace_back(piece);
        ++count;
    }
    if (!current.empty()) emit(current);
    return result;
}

}  // namespace folvane
