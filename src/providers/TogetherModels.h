#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace folvane {

// Prices as the Together catalogue lists them, for display only: the cost of a
// chat never reads them.
struct TogetherAIPricing {
    double input = 0;
    double output = 0;
    std::optional<double> hourly;
};

// One chat model of the fixed Together catalogue.
struct TogetherAIModel {
    std::string_view id;
    std::string_view displayName;
    std::string_view displayType;
    int contextLength = 0;
    std::string_view creatorOrganization;
    std::string_view description;
    TogetherAIPricing pricing;
};

// The 33 rows of the catalogue, in their fixed order.
std::span<const TogetherAIModel> togetherModels();
// The row of that id, or null.
const TogetherAIModel* findTogetherModel(std::string_view id);

}  // namespace folvane
