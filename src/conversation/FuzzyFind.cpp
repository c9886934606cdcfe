#include "conversation/FuzzyFind.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <limits>

namespace folvane {

namespace {

using namespace fuzzy_find;

constexpr int unreachable = std::numeric_limits<int>::min() / 2;

struct Character {
    UChar32 folded = 0;
    bool alphanumeric = false;
    bool upper = false;
    bool lower = false;
    size_t offset = 0;
};

// Invalid bytes read as U+FFFD, one for each byte that cannot start a character.
std::vector<Character> decode(std::string_view text) {
    std::vector<Character> characters;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = int32_t(text.size());
    for (int32_t at = 0; at < length;) {
        Character character;
        character.offset = size_t(at);
        UChar32 c = 0;
        U8_NEXT(bytes, at, length, c);
        if (c < 0) c = 0xFFFD;
        character.folded = u_foldCase(c, U_FOLD_CASE_DEFAULT);
        character.alphanumeric = u_isalnum(c);
        character.upper = u_isUUppercase(c);
        character.lower = u_isULowercase(c);
        characters.push_back(character);
    }
    return characters;
}

int pairScore(const Character& query, const Character& input) {
    return query.folded == input.folded ? matchScore : mismatchScore;
}

int bonusAt(const std::vector<Character>& input, size_t at) {
    if (at == 0 || !input[at - 1].alphanumeric) return boundaryBonus;
    if (input[at].upper && input[at - 1].lower) return camelCaseBonus;
    return 0;
}

bool isSubsequence(const std::vector<Character>& query, const std::vector<Character>& input) {
    size_t placed = 0;
    for (size_t at = 0; at < input.size() && placed < query.size(); ++at) {
        if (input[at].folded == query[placed].folded) ++placed;
    }
    return placed == query.size();
}

}  // namespace

std::optional<FuzzyAlignment> fuzzyAlign(std::string_view queryText, std::string_view inputText) {
    const auto query = decode(queryText);
    if (query.empty()) return FuzzyAlignment{};
    const auto input = decode(inputText);
    if (!isSubsequence(query, input)) return std::nullopt;

    const size_t m = query.size();
    const size_t n = input.size();
    // best[i][j]: the highest score of the query's first i + 1 characters with
    // character i placed at j; from[i][j]: where character i - 1 stands then.
    std::vector<std::vector<int>> best(m, std::vector<int>(n, unreachable));
    std::vector<std::vector<size_t>> from(m, std::vector<size_t>(n, 0));

    for (size_t j = 0; j < n; ++j) {
        if (pairScore(query[0], input[j]) == mismatchScore) continue;
        best[0][j] =
            pairScore(query[0], input[j]) + bonusAt(input, j) * firstCharacterBonusMultiplier;
    }
    for (size_t i = 1; i < m; ++i) {
        const auto& previous = best[i - 1];
        // A gap of g >= 2 from k costs g + 3, linear in k: the best of
        // previous[k] + k over k <= j - 3 carries every such gap at once.
        int longGapBest = unreachable;
        size_t longGapFrom = 0;
        for (size_t j = 1; j < n; ++j) {
            if (j >= 3 && previous[j - 3] != unreachable &&
                previous[j - 3] + int(j - 3) > longGapBest) {
                longGapBest = previous[j - 3] + int(j - 3);
                longGapFrom = j - 3;
            }
            if (pairScore(query[i], input[j]) == mismatchScore) continue;
            int reached = unreachable;
            size_t origin = 0;
            if (previous[j - 1] != unreachable) {
                reached = previous[j - 1] + consecutiveBonus;
                origin = j - 1;
            }
            if (j >= 2 && previous[j - 2] != unreachable &&
                previous[j - 2] - gapPenalty(1) > reached) {
                reached = previous[j - 2] - gapPenalty(1);
                origin = j - 2;
            }
            if (longGapBest != unreachable) {
                const int gap = int(j - longGapFrom) - 1;
                const int viaLongGap = longGapBest - int(longGapFrom) - gapPenalty(gap);
                if (viaLongGap > reached) {
                    reached = viaLongGap;
                    origin = longGapFrom;
                }
            }
            if (reached == unreachable) continue;
            best[i][j] = reached + pairScore(query[i], input[j]) + bonusAt(input, j);
            from[i][j] = origin;
        }
    }

    size_t end = 0;
    for (size_t j = 1; j < n; ++j) {
        if (best[m - 1][j] > best[m - 1][end]) end = j;
    }
    FuzzyAlignment alignment;
    alignment.score = best[m - 1][end];
    alignment.positions.resize(m);
    size_t at = end;
    for (size_t i = m; i-- > 0;) {
        alignment.positions[i] = input[at].offset;
        if (i > 0) at = from[i][at];
    }
    return alignment;
}

}  // namespace folvane
