#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "providers/DecodingError.h"
#include "providers/OpenAIError.h"
#include "providers/StreamingSession.h"
#include "providers/WireFixtures.h"

namespace folvane {
namespace {

// What a session reported, in order: event contents, or "error:" and the text.
struct Recorder {
    std::vector<std::string> log;

    StreamingSession session() {
        return StreamingSession(
            [this](const ChatStreamResult& result) {
                std::string content;
                for (const auto& choice : result.choices)
                    content += choice.delta.content.value_or("");
                log.push_back(content);
            },
            [this](std::exception_ptr error) {
                try {
                    std::rethrow_exception(error);
                } catch (const std::exception& e) {
                    log.push_back(std::string("error:") + e.what());
                }
            });
    }
};

HttpResponseHead ok() {
    return {200, {{"Content-Type", "text/event-stream"}}};
}

// Feeds the blocks; with `end`, the body ends after them.
std::vector<std::string> feed(const std::vector<std::string>& blocks, bool end = false) {
    Recorder recorder;
    auto session = recorder.session();
    for (const auto& block : blocks) session.receiveBlock(ok(), block);
    if (end) session.finish();
    return recorder.log;
}

using Log = std::vector<std::string>;

struct BlockCase {
    const char* name;
    std::vector<std::string> blocks;
    Log expected;
};

TEST(StreamingSessionTest, ScriptedBlocks) {
    const std::string a = test::deltaEvent("Hel");
    const std::string b = test::deltaEvent("lo");
    const std::vector<BlockCase> cases = {
        {"two data lines in one block", {a + b}, {"Hel", "lo"}},
        {"a comment between events", {a + ": keep-alive\n\n" + b}, {"Hel", "lo"}},
        {"other fields are dropped", {"event: delta\nid: 7\nretry: 10\n" + a}, {"Hel"}},
        {"data without the blank is dropped", {"data:{\"choices\":[]}\n\n" + a}, {"Hel"}},
        {"done first yields nothing", {"data: [DONE]\n\n" + a}, {}},
        {"done after events is skipped", {a + "data: [DONE]\n\n"}, {"Hel"}},
        {"done in a later block", {a, "data: [DONE]\n\n"}, {"Hel"}},
        {"carriage returns are trimmed",
         {"data: {\"choices\":[{\"delta\":{\"content\":\"x\"}}]}\r\n\r\n"},
         {"x"}},
        {"a block of blank lines", {a, "\n\n\n", b}, {"Hel", "lo"}},
        {"an undecodable line in the middle",
         {"data: {\"nope\":1}\n\n" + a},
         {"error:The data couldn't be read because it is missing.", "Hel"}},
        {"an error event ends the stream",
         {a + "data: {\"error\":{\"message\":\"mid-stream\"}}\n\n" + b},
         {"Hel", "error:mid-stream"}},
        {"an error object on a line of its own",
         {a + "{\"error\":{\"message\":\"late\"}}\n", b},
         {"Hel", "error:late"}},
        {"an undecodable line at the end of a block",
         {"data: {\"nope\":1}\n\n", a},
         {"error:The data couldn't be read because it is missing.", "Hel"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(feed(c.blocks), c.expected) << c.name;
    }
}

TEST(StreamingSessionTest, HowTheBodyEnds) {
    const std::string a = test::deltaEvent("a");
    const auto error = [](StreamingError::Case errorCase) {
        return "error:" + std::string(StreamingError(errorCase).what());
    };
    const std::vector<BlockCase> cases = {
        {"whole events without [DONE]", {a}, {"a"}},
        {"a last event without its line feed", {a.substr(0, a.find('\n'))}, {"a"}},
        {"a body cut inside an event",
         {a + a.substr(0, 20)},
         {"a", error(StreamingError::Case::cutOff)}},
        {"a body cut inside a character",
         {a + "data: \xC3"},
         {"a", error(StreamingError::Case::cutOff)}},
        {"an error event as the last bytes",
         {a + R"(data: {"error":{"message":"quota"}})"},
         {"a", "error:quota"}},
        {"a plain answer where a stream was asked",
         {R"({"id":"c","object":"chat.completion","choices":[)",
          R"({"index":0,"message":{"role":"assistant","content":"Hi"}}]})"},
         {error(StreamingError::Case::notAStream)}},
        {"no body at all", {}, {error(StreamingError::Case::emptyContent)}},
    };
    for (const auto& c : cases) EXPECT_EQ(feed(c.blocks, true), c.expected) << c.name;
}

TEST(StreamingSessionTest, ALineLongerThanTheLimitFailsWithoutHoldingIt) {
    Recorder recorder;
    auto session = recorder.session();
    const std::string block(1 << 20, 'x');
    session.receiveBlock(ok(), "data: ");
    for (size_t sent = 0; sent <= StreamingSession::maximumLineSize; sent += block.size()) {
        session.receiveBlock(ok(), block);
    }
    EXPECT_EQ(recorder.log,
              Log{"error:" + std::string(StreamingError(StreamingError::Case::oversized).what())});
}

// The recorded stream holds characters of two, three and four bytes, so the
// cuts fall inside data prefixes, JSON objects and characters alike.
TEST(StreamingSessionTest, EverySplitOfARecordedStreamYieldsTheSameEvents) {
    const std::string stream = test::recordedStream();
    const Log whole = feed({stream});
    ASSERT_EQ(whole, test::recordedStreamContents());
    for (size_t cut = 1; cut < stream.size(); ++cut) {
        ASSERT_EQ(feed({stream.substr(0, cut), stream.substr(cut)}), whole) << "cut at " << cut;
    }
    for (size_t first = 1; first < stream.size(); first += 7) {
        for (size_t second = first + 1; second < stream.size(); second += 5) {
            ASSERT_EQ(feed({stream.substr(0, first), stream.substr(first, second - first),
                            stream.substr(second)}),
                      whole)
                << "cuts at " << first << " and " << second;
        }
    }
    std::vector<std::string> bytes;
    for (char c : stream) bytes.emplace_back(1, c);
    EXPECT_EQ(feed(bytes), whole) << "one byte a block";
}

TEST(StreamingSessionTest, MalformedUtf8FailsTheStream) {
    const std::string event = test::deltaEvent("x");
    const std::string unknown =
        "error:" + std::string(StreamingError(StreamingError::Case::unknownContent).what());
    const std::vector<BlockCase> cases = {
        {"a stray continuation byte", {"\x80" + event}, {unknown}},
        {"an overlong form", {"data: \xC0\xAF\n\n"}, {unknown}},
        {"a surrogate", {"data: \xED\xA0\x80\n\n"}, {unknown}},
        {"a lead byte followed by ASCII", {"data: \xE2(\n\n"}, {unknown}},
        {"a cut lead byte then a bad continuation", {"data: \xE2", "(\n\n"}, {unknown}},
    };
    for (const auto& c : cases) EXPECT_EQ(feed(c.blocks), c.expected) << c.name;
}

TEST(StreamingSessionTest, PartialContentHoldsTheCutLine) {
    Recorder recorder;
    auto session = recorder.session();
    const std::string event = test::deltaEvent("x");
    session.receiveBlock(ok(), event.substr(0, 25));
    EXPECT_EQ(session.partialContent(), event.substr(0, 25));
    EXPECT_TRUE(session.errorChecked());
    session.receiveBlock(ok(), event.substr(25));
    EXPECT_EQ(session.partialContent(), "");
    EXPECT_EQ(recorder.log, Log{"x"});
}

}  // namespace
}  // namespace folvane
