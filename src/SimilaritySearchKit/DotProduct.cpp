#include "SimilaritySearchKit/DotProduct.h"

#include <algorithm>

#include "SimilaritySearchKit/NeighborScan.h"
#include "SimilaritySearchKit/VectorKernels.h"

namespace folvane {

std::vector<ScoredPosition> DotProduct::findNearest(
    std::span<const float> query, std::span<const std::span<const float>> neighbors,
    int resultsCount) const {
    if (resultsCount <= 0) return {};
    return sortedScores(
        scoreNeighbors(neighbors,
                       [&](std::span<const float> neighbor) { return distance(query, neighbor); }),
        resultsCount);
}

float DotProduct::distance(std::span<const float> a, std::span<const float> b) const {
    return kernels::dot(a.data(), b.data(), std::min(a.size(), b.size()));
}

}  // namespace folvane
