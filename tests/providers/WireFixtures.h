#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace folvane::test {

// One event-stream line of a chat delta, as OpenAI sends it.
inline std::string deltaEvent(const std::string& content) {
    nlohmann::json event = {
        {"id", "chatcmpl-test"},
        {"object", "chat.completion.chunk"},
        {"created", 1700000000},
        {"model", "gpt-test"},
        {"choices",
         {{{"index", 0}, {"delta", {{"content", content}}}, {"finish_reason", nullptr}}}},
    };
    return "data: " + event.dump() + "\n\n";
}

// A stream as a server sends it: a role event, text with characters of two,
// three and four bytes, a comment, a finish event and the end marker.
inline std::string recordedStream() {
    return "data: "
           "{\"id\":\"chatcmpl-test\",\"object\":\"chat.completion.chunk\",\"created\":1700000000,"
           "\"model\":\"gpt-test\",\"choices\":[{\"index\":0,\"delta\":{\"role\":\"assistant\"},"
           "\"finish_reason\":null}]}\n\n" +
           deltaEvent("Caf\xC3\xA9 ") + ": keep-alive\n\n" +
           deltaEvent(
               "\xE2\x82\xAC"
               "5 ") +
           deltaEvent("\xF0\x9F\x98\x80\n.....REFS.....[1]") +
           "data: {\"choices\":[{\"index\":0,\"delta\":{},\"finish_reason\":\"stop\"}]}\n\n"
           "data: [DONE]\n\n";
}

// The content of each event of recordedStream(), "" for an event without text.
inline std::vector<std::string> recordedStreamContents() {
    return {"", "Caf\xC3\xA9 ",
            "\xE2\x82\xAC"
            "5 ",
            "\xF0\x9F\x98\x80\n.....REFS.....[1]", ""};
}

}  // namespace folvane::test
