#include "providers/ChatResult.h"

#include "providers/CompletionFields.h"

namespace folvane {

namespace rd = json_read;

ChatResult ChatResult::decode(std::string_view text) {
    return fromJson(rd::parse(text));
}

ChatResult ChatResult::fromJson(const nlohmann::json& value) {
    ChatResult result =
        readCompletionFields<ChatResult>(value, "ChatResult", [](const auto& entry) {
            Choice choice;
            choice.message = chatFromJson(rd::required(entry, "message"));
            return choice;
        });
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
