#pragma once

#include <string>

#include "providers/DecodingError.h"

namespace folvane {

// Reads what a chat completion and one event of its stream share: the
// optional id, object, created and model, and the required list of choices,
// each choice read by readChoice from its JSON object. Throws DecodingError.
template <typename Result, typename ReadChoice>
Result readCompletionFields(const nlohmann::json& value, const char* type, ReadChoice readChoice) {
    namespace rd = json_read;
    rd::object(value, type);
    Result result;
    result.id = rd::optionalString(value, "id");
    result.object = rd::optionalString(value, "object");
    result.created = rd::optionalNumber(value, "created");
    result.model = rd::optionalString(value, "model");
    for (const auto& entry : rd::array(rd::required(value, "choices"), "choices")) {
        rd::object(entry, "choices");
        typename Result::Choice choice = readChoice(entry);
        choice.index = rd::optionalInteger(entry, "index");
        choice.finishReason = rd::optionalString(entry, "finish_reason");
        result.choices.push_back(std::move(choice));
    }
    return result;
}

}  // namespace folvane
