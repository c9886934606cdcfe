#include "providers/ChatResult.h"

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

ChatResult ChatResult::decode(std::string_view text) {
    return fromJson(rd::parse(text));
}

ChatResult ChatResult::fromJson(const nlohmann::json& value) {
    rd::object(value, "ChatResult");
    ChatResult result;
    result.id = rd::optionalString(value, "id");
    result.object = rd::optionalString(value, "object");
    result.created = rd::optionalNumber(value, "created");
    result.model = rd::optionalString(value, "model");
    for (const auto& entry : rd::array(rd::required(value, "choices"), "choices")) {
        rd::object(entry, "choices");
        Choice choice;
        choice.index = rd::optionalInteger(entry, "index");
        choice.message = chatFromJson(rd::required(entry, "message"));
        choice.finishReason = rd::optionalString(entry, "finish_reason");
        result.choices.push_back(std::move(choice));
    }
    if (const auto* usage = rd::optional(value, "usage")) {
        rd::object(*usage, "usage");
        result.usage = Usage{
            rd::integer(rd::required(*usage, "prompt_tokens"), "prompt_tokens"),
            rd::integer(rd::required(*usage, "completion_tokens"), "completion_tokens"),
            rd::integer(rd::required(*usage, "total_tokens"), "total_tokens"),
        };
    }
    return result;
}

}  // namespace folvane
