#include "store/Message.h"

namespace folvane {

nlohmann::ordered_json toJson(const Reference& reference) {
    nlohmann::ordered_json object;
    object["id"] = reference.id;
    object["bookmarkId"] = reference.bookmarkId;
    if (reference.page) object["page"] = *reference.page;
    if (reference.score) object["score"] = *reference.score;
    return object;
}

Reference referenceFromJson(const nlohmann::json& object) {
    Reference reference;
    reference.id = object.at("id").get<std::string>();
    reference.bookmarkId = object.at("bookmarkId").get<int64_t>();
    if (auto page = object.find("page"); page != object.end() && !page->is_null()) {
        reference.page = page->get<int>();
    }
    if (auto score = object.find("score"); score != object.end() && !score->is_null()) {
        reference.score = score->get<float>();
    }
    return reference;
}

nlohmann::ordered_json toJson(const Message& message) {
    // Absent optionals are left out, as a coder writes them.
    nlohmann::ordered_json object;
    auto put = [&object](const char* key, const auto& value) {
        if (value) object[key] = *value;
    };
    object["id"] = message.id;
    object["conversationId"] = message.conversationId;
    object["role"] = message.role;
    object["content"] = message.content;
    object["model"] = message.model;
    put("name", message.name);
    put("functionName", message.functionName);
    put("functionArguments", message.functionArguments);
    if (message.references) {
        auto references = nlohmann::ordered_json::array();
        for (const auto& reference : *message.references) references.push_back(toJson(reference));
        object["references"] = references;
    }
    put("contextMode", message.contextMode);
    put("stringContext", message.stringContext);
    put("documentContext", message.documentContext);
    object["imageURLs"] = message.imageURLs;
    put("speechFileURL", message.speechFileURL);
    object["createdAt"] = formatDate(message.createdAt);
    object["updatedAt"] = formatDate(message.updatedAt);
    return object;
}

}  // namespace folvane
