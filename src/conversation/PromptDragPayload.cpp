#include "conversation/PromptDragPayload.h"

#include <nlohmann/json.hpp>

#include "store/JsonText.h"

namespace folvane {

std::string encodePromptPayload(const Prompt& prompt) {
    nlohmann::ordered_json object;
    object["id"] = prompt.id;
    object["name"] = prompt.name;
    object["icon"] = prompt.icon;
    object["prompt"] = prompt.prompt;
    object["enable"] = prompt.enable;
    object["sortOrder"] = prompt.sortOrder;
    object["lastUsedAt"] = formatDate(prompt.lastUsedAt);
    return compactJson(object);
}

Prompt decodePromptPayload(std::string_view payload) {
    const auto object = nlohmann::json::parse(payload, nullptr, false);
    if (object.is_discarded() || !object.is_object())
        throw PromptPayloadError("The dragged item is not a prompt.");
    const auto field = [&](const char* key) -> const nlohmann::json& {
        const auto found = object.find(key);
        if (found == object.end())
            throw PromptPayloadError(std::string("The dragged prompt has no ") + key + ".");
        return *found;
    };
    Prompt prompt;
    try {
        prompt.id = field("id").get<int64_t>();
        prompt.name = field("name").get<std::string>();
        prompt.prompt = field("prompt").get<std::string>();
        prompt.enable = field("enable").get<bool>();
        prompt.sortOrder = field("sortOrder").get<int>();
        if (object.contains("icon")) prompt.icon = object["icon"].get<std::string>();
        if (object.contains("lastUsedAt")) {
            const auto date = parseDate(object["lastUsedAt"].get<std::string>());
            if (!date) throw PromptPayloadError("The dragged prompt has an unreadable lastUsedAt.");
            prompt.lastUsedAt = *date;
        }
    } catch (const nlohmann::json::exception&) {
        throw PromptPayloadError("The dragged prompt has a field of the wrong type.");
    }
    return prompt;
}

}  // namespace folvane
