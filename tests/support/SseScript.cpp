#include "support/SseScript.h"

#include <random>

namespace folvane::test {

namespace {

nlohmann::json withChoice(nlohmann::json delta, const nlohmann::json& finishReason) {
    return {{"id", "chatcmpl-1"},
            {"object", "chat.completion.chunk"},
            {"created", 1700000000},
            {"model", "gpt-test"},
            {"choices",
             nlohmann::json::array(
                 {{{"index", 0}, {"delta", std::move(delta)}, {"finish_reason", finishReason}}})}};
}

}  // namespace

SseScript& SseScript::chunk(const nlohmann::json& payload) {
    std::string event = "data: " + payload.dump() + "\n\n";
    text_ += event;
    events_.push_back(std::move(event));
    return *this;
}

SseScript& SseScript::content(const std::string& text) {
    return chunk(withChoice({{"content", text}}, nullptr));
}

SseScript& SseScript::functionCall(const std::optional<std::string>& name,
                                   const std::optional<std::string>& arguments) {
    nlohmann::json call = nlohmann::json::object();
    if (name) call["name"] = *name;
    if (arguments) call["arguments"] = *arguments;
    return chunk(withChoice({{"function_call", call}}, nullptr));
}

SseScript& SseScript::finish(const std::string& reason, const std::optional<std::string>& text) {
    nlohmann::json delta = nlohmann::json::object();
    if (text) delta["content"] = *text;
    return chunk(withChoice(delta, reason));
}

SseScript& SseScript::role() {
    return chunk(withChoice({{"role", "assistant"}}, nullptr));
}

SseScript& SseScript::done() {
    text_ += "data: [DONE]\n\n";
    events_.push_back("data: [DONE]\n\n");
    return *this;
}

std::vector<std::string> SseScript::pieces(size_t maxPiece, unsigned seed) const {
    std::mt19937 generator(seed);
    std::uniform_int_distribution<size_t> length(1, maxPiece);
    std::vector<std::string> result;
    for (size_t at = 0; at < text_.size();) {
        const size_t size = std::min(length(generator), text_.size() - at);
        result.push_back(text_.substr(at, size));
        at += size;
    }
    return result;
}

}  // namespace folvane::test
