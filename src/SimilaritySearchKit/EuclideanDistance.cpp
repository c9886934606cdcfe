#include "SimilaritySearchKit/EuclideanDistance.h"

#include <algorithm>
#include <cmath>

#include "SimilaritySearchKit/NeighborScan.h"
#include "SimilaritySearchKit/VectorKernels.h"

namespace folvane {

std::vector<ScoredPosition> EuclideanDistance::findNearest(
    std::span<const float> query, std::span<const std::span<const float>> neighbors,
    int resultsCount) const {
    if (resultsCount <= 0) return {};
    return sortedDistances(
        scoreNeighbors(neighbors,
                       [&](std::span<const float> neighbor) { return distance(query, neighbor); }),
        resultsCount);
}

float EuclideanDistance::distance(std::span<const float> a, std::span<const float> b) const {
    return std::sqrt(kernels::squaredDistance(a.data(), b.data(), std::min(a.size(), b.size())));
}

}  // namespace folvane
