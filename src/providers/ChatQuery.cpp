#include "providers/ChatQuery.h"

namespace folvane {

using nlohmann::json;

json toJson(const ChatQuery& query) {
    json messages = json::array();
    for (const auto& chat : query.messages) messages.push_back(toJson(chat));
    json value = {{"model", query.model}, {"messages", std::move(messages)}};
    if (query.functions) value["functions"] = *query.functions;
    if (query.functionCall) value["function_call"] = *query.functionCall;
    if (query.temperature) value["temperature"] = *query.temperature;
    if (query.topP) value["top_p"] = *query.topP;
    if (query.n) value["n"] = *query.n;
    if (query.stop) value["stop"] = *query.stop;
    if (query.maxTokens) value["max_tokens"] = *query.maxTokens;
    if (query.presencePenalty) value["presence_penalty"] = *query.presencePenalty;
    if (query.frequencyPenalty) value["frequency_penalty"] = *query.frequencyPenalty;
    if (query.logitBias) value["logit_bias"] = *query.logitBias;
    if (query.user) value["user"] = *query.user;
    value["stream"] = query.stream;
    return value;
}

}  // namespace folvane
