#pragma once

#include <span>
#include <utility>
#include <vector>

namespace folvane {

// A score and the position of its neighbour in the array that was searched.
using ScoredPosition = std::pair<float, int>;

// Ranks neighbours against a query. Implementations are stateless values, safe
// to share between threads.
class DistanceMetricProtocol {
  public:
    virtual ~DistanceMetricProtocol() = default;

    // The best `resultsCount` neighbours, best first, by this metric's order.
    virtual std::vector<ScoredPosition> findNearest(
        std::span<const float> query, std::span<const std::span<const float>> neighbors,
        int resultsCount) const = 0;
    virtual float distance(std::span<const float> a, std::span<const float> b) const = 0;

    // For callers that hold whole vectors.
    std::vector<ScoredPosition> findNearest(std::span<const float> query,
                                            const std::vector<std::vector<float>>& neighbors,
                                            int resultsCount) const;
};

// Top-k selection of scored positions: highest scores first, or lowest
// distances first. Few results from many scores take a partial path in which a
// later score tying with the held worst replaces it; otherwise a stable sort
// keeps ties in their original order.
std::vector<ScoredPosition> sortedScores(std::vector<ScoredPosition> scores, int resultsCount);
std::vector<ScoredPosition> sortedDistances(std::vector<ScoredPosition> scores, int resultsCount);

}  // namespace folvane
