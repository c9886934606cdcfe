#pragma once

#include "SimilaritySearchKit/DistanceMetricProtocol.h"

namespace folvane {

// Sum of the products of corresponding elements over the common length; highest first.
class DotProduct : public DistanceMetricProtocol {
  public:
    using DistanceMetricProtocol::findNearest;
    std::vector<ScoredPosition> findNearest(std::span<const float> query,
                                            std::span<const std::span<const float>> neighbors,
                                            int resultsCount) const override;
    float distance(std::span<const float> a, std::span<const float> b) const override;
};

}  // namespace folvane
