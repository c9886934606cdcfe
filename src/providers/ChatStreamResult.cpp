#include "providers/ChatStreamResult.h"

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

ChatStreamResult ChatStreamResult::decode(std::string_view text) {
    return fromJson(rd::parse(text));
}

ChatStreamResult ChatStreamResult::fromJson(const nlohmann::json& value) {
    rd::object(value, "ChatStreamResult");
    ChatStreamResult result;
    result.id = rd::optionalString(value, "id");
    result.object = rd::optionalString(value, "object");
    result.created = rd::optionalNumber(value, "created");
    result.model = rd::optionalString(value, "model");
    for (const auto& entry : rd::array(rd::required(value, "choices"), "choices")) {
        rd::object(entry, "choices");
        Choice choice;
        choice.index = rd::optionalInteger(entry, "index");
        const auto& delta = rd::object(rd::required(entry, "delta"), "delta");
        choice.delta.content = rd::optionalString(delta, "content");
        if (auto role = rd::optionalString(delta, "role")) {
            choice.delta.role = chatRoleFromRaw(*role);
        }
        choice.delta.name = rd::optionalString(delta, "name");
        if (const auto* call = rd::optional(delta, "function_call")) {
            choice.delta.functionCall = chatFunctionCallFromJson(*call);
        }
        choice.finishReason = rd::optionalString(entry, "finish_reason");
        result.choices.push_back(std::move(choice));
    }
    return result;
}

}  // namespace folvane
