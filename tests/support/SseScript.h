#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace folvane::test {

// Builds the event stream of a streamed chat completion, the way an
// OpenAI-compatible server writes it, and cuts it into the pieces a test
// server sends.
class SseScript {
  public:
    // One chunk whose first choice carries text.
    SseScript& content(const std::string& text);
    // One chunk with a function-call piece; either part may be absent.
    SseScript& functionCall(const std::optional<std::string>& name,
                            const std::optional<std::string>& arguments);
    // One chunk with the finish reason and, optionally, text in the same delta.
    SseScript& finish(const std::string& reason, const std::optional<std::string>& text = {});
    // The opening chunk that only names the role.
    SseScript& role();
    // Any chunk, as its JSON payload.
    SseScript& chunk(const nlohmann::json& payload);
    // "data: [DONE]".
    SseScript& done();

    // The whole stream as one text.
    const std::string& text() const { return text_; }
    // The stream cut at pseudo-random byte positions (fixed by seed) into
    // pieces of 1 to maxPiece bytes; cuts fall inside lines, inside "data: "
    // and inside multi-byte characters alike.
    std::vector<std::string> pieces(size_t maxPiece = 7, unsigned seed = 1) const;
    // One piece per chunk (each event with its blank line).
    std::vector<std::string> events() const { return events_; }

  private:
    std::string text_;
    std::vector<std::string> events_;
};

}  // namespace folvane::test
