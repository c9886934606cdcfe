#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/LoopbackServer.h"

namespace folvane::test {

// Event-stream lines of a chat completion, as an OpenAI-compatible server
// writes them.
std::string contentEvent(const std::string& content);
// A piece of a function call: the name (when given) and a piece of its arguments.
std::string functionCallEvent(const std::optional<std::string>& name, const std::string& arguments);
std::string finishEvent(const std::string& reason);
std::string doneEvent();

// A chat server on the loopback server: the n-th request to the chat path is
// answered with the n-th script, each event sent as a chunk of its own with a
// short pause; requests beyond the scripts get the last one. Requests to other
// paths get 404. With holdAfter set, the answer stops after that many events
// of the first script and waits for server.release() before it goes on.
struct ChatScript {
    std::vector<std::string> events;
    int status = 200;
    std::optional<size_t> holdAfter;
};
void serveChatScripts(LoopbackServer& server, std::vector<ChatScript> scripts,
                      const std::string& path = "/v1/chat/completions");

// A script whose answer is the text in pieces, then "stop".
ChatScript textScript(const std::vector<std::string>& pieces);

// The JSON bodies of the chat requests the server received, in order.
std::vector<nlohmann::json> chatRequestBodies(const LoopbackServer& server,
                                              const std::string& path = "/v1/chat/completions");

}  // namespace folvane::test
