#include "store/IndexItem.h"

namespace folvane {

nlohmann::ordered_json toJson(const IndexItem& item) {
    nlohmann::ordered_json object;
    object["id"] = item.id;
    object["text"] = item.text;
    object["embedding"] = item.embedding;
    object["metadata"] = item.metadata;
    return object;
}

IndexItem indexItemFromJson(const nlohmann::json& object) {
    IndexItem item;
    item.id = object.at("id").get<std::string>();
    item.text = object.at("text").get<std::string>();
    item.embedding = object.at("embedding").get<std::vector<float>>();
    item.metadata = object.at("metadata").get<std::map<std::string, std::string>>();
    return item;
}

}  // namespace folvane
