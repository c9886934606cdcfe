#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace folvane {

// One indexed text with its vector.
struct IndexItem {
    std::string id;
    std::string text;
    std::vector<float> embedding;
    std::map<std::string, std::string> metadata;

    bool operator==(const IndexItem&) const = default;
};

// The JSON form: one object with the keys id, text, embedding, metadata.
nlohmann::ordered_json toJson(const IndexItem& item);
IndexItem indexItemFromJson(const nlohmann::json& object);

}  // namespace folvane
