#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace folvane {

// Compact JSON as the stored columns and exports want it: no spaces, keys in
// insertion order, and every "/" written as "\/".
std::string compactJson(const nlohmann::ordered_json& value);

}  // namespace folvane
