#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "SimilaritySearchKit/DistanceMetricProtocol.h"

namespace folvane {

// Scores every neighbour with `scoreOf(neighbor)`, keeping its position.
template <typename ScoreOf>
std::vector<ScoredPosition> scoreNeighbors(std::span<const std::span<const float>> neighbors,
                                           ScoreOf scoreOf) {
    std::vector<ScoredPosition> scores(neighbors.size());
    for (std::size_t i = 0; i < neighbors.size(); ++i) {
        scores[i] = {scoreOf(neighbors[i]), static_cast<int>(i)};
    }
    return scores;
}

}  // namespace folvane
