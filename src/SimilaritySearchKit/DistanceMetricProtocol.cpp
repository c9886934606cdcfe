#include "SimilaritySearchKit/DistanceMetricProtocol.h"

#include <algorithm>
#include <cstddef>

namespace folvane {

namespace {

// `before(a, b)`: a ranks ahead of b. A score is "worse" than another when the
// other comes before it.
template <typename Before>
std::vector<ScoredPosition> selectTop(std::vector<ScoredPosition> scores, int resultsCount,
                                      Before before) {
    if (resultsCount <= 0) return {};
    const std::size_t count = scores.size();
    const std::size_t k = std::min(static_cast<std::size_t>(resultsCount), count);

    if (k < count / 10) {
        std::vector<ScoredPosition> held(scores.begin(), scores.begin() + k);
        std::stable_sort(held.begin(), held.end(), before);
        for (std::size_t i = k; i < count; ++i) {
            const ScoredPosition& candidate = scores[i];
            if (!held.empty() && before(held.back(), candidate)) continue;
            // The first held element that the candidate beats, or the last place.
            const auto worse = std::find_if(held.begin(), held.end(), [&](const auto& element) {
                return before(candidate, element);
            });
            // With no held element worse, the candidate takes the last place.
            const auto position = std::min(worse - held.begin(), std::ptrdiff_t(k) - 1);
            held.pop_back();
            held.insert(held.begin() + position, candidate);
        }
        return held;
    }

    std::stable_sort(scores.begin(), scores.end(), before);
    scores.resize(k);
    return scores;
}

}  // namespace

std::vector<ScoredPosition> DistanceMetricProtocol::findNearest(
    std::span<const float> query, const std::vector<std::vector<float>>& neighbors,
    int resultsCount) const {
    std::vector<std::span<const float>> views(neighbors.begin(), neighbors.end());
    return findNearest(query, std::span<const std::span<const float>>(views), resultsCount);
}

std::vector<ScoredPosition> sortedScores(std::vector<ScoredPosition> scores, int resultsCount) {
    return selectTop(
        std::move(scores), resultsCount,
        [](const ScoredPosition& a, const ScoredPosition& b) { return a.first > b.first; });
}

std::vector<ScoredPosition> sortedDistances(std::vector<ScoredPosition> scores, int resultsCount) {
    return selectTop(
        std::move(scores), resultsCount,
        [](const ScoredPosition& a, const ScoredPosition& b) { return a.first < b.first; });
}

}  // namespace folvane
