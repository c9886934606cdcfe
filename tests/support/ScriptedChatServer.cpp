#include "support/ScriptedChatServer.h"

#include <atomic>
#include <memory>
#include <thread>

namespace folvane::test {

namespace {

std::string event(const nlohmann::json& delta, const nlohmann::json& finishReason) {
    const nlohmann::json body = {
        {"id", "chatcmpl-scripted"},
        {"object", "chat.completion.chunk"},
        {"created", 1700000000},
        {"model", "scripted"},
        {"choices", {{{"index", 0}, {"delta", delta}, {"finish_reason", finishReason}}}},
    };
    return "data: " + body.dump() + "\n\n";
}

}  // namespace

std::string contentEvent(const std::string& content) {
    return event({{"content", content}}, nullptr);
}

std::string functionCallEvent(const std::optional<std::string>& name,
                              const std::string& arguments) {
    nlohmann::json call = {{"arguments", arguments}};
    if (name) call["name"] = *name;
    return event({{"function_call", call}}, nullptr);
}

std::string finishEvent(const std::string& reason) {
    return event(nlohmann::json::object(), reason);
}

std::string doneEvent() {
    return "data: [DONE]\n\n";
}

ChatScript textScript(const std::vector<std::string>& pieces) {
    ChatScript script;
    script.events.push_back(event({{"role", "assistant"}}, nullptr));
    for (const auto& piece : pieces) script.events.push_back(contentEvent(piece));
    script.events.push_back(finishEvent("stop"));
    script.events.push_back(doneEvent());
    return script;
}

void serveChatScripts(LoopbackServer& server, std::vector<ChatScript> scripts,
                      const std::string& path) {
    auto counter = std::make_shared<std::atomic<size_t>>(0);
    server.setHandler([&server, scripts = std::move(scripts), counter, path](
                          const RecordedRequest& request, httplib::Response& response) {
        if (request.target != path || scripts.empty()) {
            response.status = 404;
            return;
        }
        const size_t index = std::min(counter->fetch_add(1), scripts.size() - 1);
        const ChatScript& script = scripts[index];
        response.status = script.status;
        if (script.status != 200) {
            response.set_content(script.events.empty() ? "" : script.events.front(),
                                 "application/json");
            return;
        }
        auto events = std::make_shared<std::vector<std::string>>(script.events);
        const auto hold = script.holdAfter;
        response.set_chunked_content_provider(
            "text/event-stream", [events, hold, &server, sent = std::make_shared<size_t>(0)](
                                     size_t, httplib::DataSink& sink) {
                if (hold && *sent == *hold) server.waitForRelease(std::chrono::seconds(20));
                if (*sent >= events->size()) {
                    sink.done();
                    return true;
                }
                const auto& text = (*events)[(*sent)++];
                if (!sink.write(text.data(), text.size())) return false;
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                return true;
            });
    });
}

std::vector<nlohmann::json> chatRequestBodies(const LoopbackServer& server,
                                              const std::string& path) {
    std::vector<nlohmann::json> bodies;
    for (const auto& request : server.requests()) {
        if (request.target == path) bodies.push_back(nlohmann::json::parse(request.body));
    }
    return bodies;
}

}  // namespace folvane::test
