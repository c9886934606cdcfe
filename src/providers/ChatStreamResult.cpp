#include "providers/ChatStreamResult.h"

#include "providers/CompletionFields.h"

namespace folvane {

namespace rd = json_read;

ChatStreamResult ChatStreamResult::decode(std::string_view text) {
    return fromJson(rd::parse(text));
}

ChatStreamResult ChatStreamResult::fromJson(const nlohmann::json& value) {
    return readCompletionFields<ChatStreamResult>(
        value, "ChatStreamResult", [](const nlohmann::json& entry) {
            Choice choice;
            const auto& delta = rd::object(rd::required(entry, "delta"), "delta");
            choice.delta.content = rd::optionalString(delta, "content");
            if (auto role = rd::optionalString(delta, "role")) {
                choice.delta.role = chatRoleFromRaw(*role);
            }
            choice.delta.name = rd::optionalString(delta, "name");
            if (const auto* call = rd::optional(delta, "function_call")) {
                choice.delta.functionCall = chatFunctionCallFromJson(*call);
            }
            return choice;
        });
}

}  // namespace folvane
