#pragma once

#include "SimilaritySearchKit/DistanceMetricProtocol.h"

namespace folvane {

// The dot product over the common length divided by the norms of both whole vectors;
// highest first. A zero vector gives a score that is not a number or infinite.
class CosineSimilarity : public DistanceMetricProtocol {
  public:
    using DistanceMetricProtocol::findNearest;
    std::vector<ScoredPosition> findNearest(std::span<const float> query,
                                            std::span<const std::span<const float>> neighbors,
                                            int resultsCount) const override;
    float distance(std::span<const float> a, std::span<const float> b) const override;
};

}  // namespace folvane
