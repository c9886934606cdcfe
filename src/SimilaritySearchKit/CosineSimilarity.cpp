#include "SimilaritySearchKit/CosineSimilarity.h"

#include <algorithm>
#include <cmath>

#include "SimilaritySearchKit/NeighborScan.h"
#include "SimilaritySearchKit/VectorKernels.h"

namespace folvane {

namespace {

// The score of b against a query whose norm is already known.
float cosine(std::span<const float> query, float queryNorm, std::span<const float> b) {
    const std::size_t common = std::min(query.size(), b.size());
    const auto [dot, squares] = kernels::dotAndSquares(query.data(), b.data(), common);
    const float surplus = kernels::sumOfSquares(b.data() + common, b.size() - common);
    return dot / (queryNorm * std::sqrt(squares + surplus));
}

}  // namespace

std::vector<ScoredPosition> CosineSimilarity::findNearest(
    std::span<const float> query, std::span<const std::span<const float>> neighbors,
    int resultsCount) const {
    if (resultsCount <= 0) return {};
    const float queryNorm = std::sqrt(kernels::sumOfSquares(query.data(), query.size()));
    return sortedScores(scoreNeighbors(neighbors,
                                       [&](std::span<const float> neighbor) {
                                           return cosine(query, queryNorm, neighbor);
                                       }),
                        resultsCount);
}

float CosineSimilarity::distance(std::span<const float> a, std::span<const float> b) const {
    return cosine(a, std::sqrt(kernels::sumOfSquares(a.data(), a.size())), b);
}

}  // namespace folvane
