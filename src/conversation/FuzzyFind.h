#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace folvane {

// How the characters of a query were placed in an input.
struct FuzzyAlignment {
    int score = 0;
    // The byte offset in the input (UTF-8) of each placed character, one for
    // each character of the query, ascending.
    std::vector<size_t> positions;

    bool operator==(const FuzzyAlignment&) const = default;
};

// The fuzzy alignment of the prompt picker: every character of the query is
// placed, in order and case-insensitively (Unicode case folding), on a
// character of the input, the placement of highest score chosen by dynamic
// programming over (query position, input position).
//
// A placed character scores matchScore, plus a bonus when it starts a word:
// boundaryBonus after a character that is neither letter nor digit (or at the
// start), camelCaseBonus for an upper-case letter after a lower-case one; the
// query's first character has its bonus doubled. Two characters placed side
// by side earn consecutiveBonus; characters skipped between two placed ones
// cost gapPenalty. Characters before the first and after the last placed one
// cost nothing.
namespace fuzzy_find {
inline constexpr int matchScore = 16;
inline constexpr int mismatchScore = 0;
inline constexpr int boundaryBonus = 8;
inline constexpr int camelCaseBonus = 7;
inline constexpr int firstCharacterBonusMultiplier = 2;
inline constexpr int consecutiveBonus = 11;
// For a gap of n characters (n >= 1).
constexpr int gapPenalty(int n) {
    return n == 1 ? 3 : n + 3;
}
}  // namespace fuzzy_find

// None when some character of the query cannot be placed. An empty query
// aligns with any input, with score 0 and no positions.
std::optional<FuzzyAlignment> fuzzyAlign(std::string_view query, std::string_view input);

}  // namespace folvane
