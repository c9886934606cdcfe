#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "chat/AppChatService.h"
#include "chat/CompletionStream.h"
#include "providers/APIErrorResponse.h"
#include "providers/GPTEncoder.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "store/CustomModelHelper.h"
#include "support/LoopbackHttpClient.h"
#include "support/LoopbackServer.h"
#include "support/SseScript.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"

namespace folvane {
namespace {

using namespace std::chrono_literals;
using test::LoopbackServer;
using test::SseScript;
using Clock = std::chrono::steady_clock;

const char* const errorBody =
    R"({"error":{"message":"Incorrect API key provided: sk-test.","type":"invalid_request_error","param":null,"code":"invalid_api_key"}})";
const std::string leadIn =
    "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: ";

// The chat's state as a view model would hold it: each call is handed to the
// main queue and applied there, as the chat's own sink does.
class RecordingSink : public CompletionSink {
  public:
    explicit RecordingSink(MainQueue& queue) : queue_(queue) {}

    AssistantState state = AssistantState::thinking;
    std::optional<std::string> live = std::string();
    std::optional<std::string> finishReason;
    std::string lastError;
    std::vector<AssistantState> states;
    std::vector<std::pair<Clock::time_point, std::string>> liveWrites;

    void setAssistantState(AssistantState next) override {
        queue_.post([this, next] { setState(next); });
    }
    void showLiveText(const std::string& answer) override {
        queue_.post([this, answer] {
            if (live) write(answer);
        });
    }
    void showAnswer(const std::string& answer) override {
        queue_.post([this, answer] {
            if (live && state == AssistantState::typing) write(answer);
        });
    }
    void setLastFinishReason(const std::string& reason) override {
        queue_.post([this, reason] { finishReason = reason; });
    }
    void fail(const std::string& words) override {
        queue_.post([this, words] {
            lastError = words;
            setState(AssistantState::failed);
        });
    }

  private:
    void setState(AssistantState next) {
        state = next;
        states.push_back(next);
    }
    void write(const std::string& answer) {
        live = answer;
        liveWrites.emplace_back(Clock::now(), answer);
    }

    MainQueue& queue_;
};

// The nth request gets the nth handler; requests past the end get a 404.
LoopbackServer::Handler inTurn(std::vector<LoopbackServer::Handler> handlers) {
    auto next = std::make_shared<std::atomic<size_t>>(0);
    return [handlers, next](const test::RecordedRequest& request, httplib::Response& response) {
        const size_t index = (*next)++;
        if (index < handlers.size()) {
            handlers[index](request, response);
        } else {
            response.status = 404;
        }
    };
}

LoopbackServer::Handler streamed(const SseScript& script, size_t maxPiece = 7) {
    return test::chunkedResponse(script.pieces(maxPiece), 200, {}, 1ms);
}

Message userMessage(const std::string& text) {
    Message message;
    message.conversationId = 1;
    message.role = "user";
    message.content = text;
    return message;
}

class CompletionStreamTest : public ::testing::Test {
  protected:
    test::TempDir dir;
    std::shared_ptr<SqliteConnection> db = test::makeDatabase(dir / "db.sqlite3");
    AppPreferences preferences;
    LoopbackServer server;
    AppChatService service{
        db, preferences, std::make_shared<test::LoopbackHttpClient>(),
        std::make_shared<GPTEncoder>(std::filesystem::path(test::resourceDir()))};
    BlockingMainQueue queue;
    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>(queue);
    std::vector<Message> history{userMessage("What does the paper say?")};

    void SetUp() override {
        preferences.setCustomHost(server.baseURL().substr(std::string("http://").size()));
    }

    Conversation chat() const {
        Conversation conversation;
        conversation.id = 1;
        conversation.model = "gpt-4";
        return conversation;
    }

    int64_t ollama(int contextLength) {
        CustomModel model;
        model.provider = "Ollama";
        model.name = "local";
        model.apiEndpoint = server.baseURL();
        model.modelId = "llama3";
        model.contextLength = contextLength;
        model.headers = std::vector<CustomModelHeaderEntry>{};
        return CustomModelHelper(db).insert(model);
    }

    struct Outcome {
        CompletionStream::Ending ending;
        std::string text, answer, pageLine;
        std::vector<Message> extraMessages;
        int passes = 0;
    };

    // Runs the passes on a task of their own while this thread drains the
    // main queue; `during` runs on this thread once `ready` holds.
    Outcome drive(const Conversation& conversation, CompletionStream::FunctionStep step = {},
                  const std::function<bool()>& ready = {},
                  const std::function<void(std::stop_source&)>& during = {}) {
        Outcome outcome;
        {
            CompletionStream stream(service, sink, std::move(step));
            std::stop_source stop;
            std::atomic<bool> finished = false;
            std::jthread task([&] {
                outcome.ending =
                    stream.run("Answer from the context.", history, conversation, stop.get_token());
                queue.post([&] { finished = true; });
            });
            if (ready) {
                EXPECT_TRUE(queue.runUntil(ready, 10s));
                if (during) during(stop);
            }
            EXPECT_TRUE(queue.runUntil([&] { return finished.load(); }, 20s));
            task.join();
            outcome.text = stream.text();
            outcome.answer = stream.answer();
            outcome.pageLine = stream.pageLine();
            outcome.extraMessages = stream.extraMessages();
            outcome.passes = stream.passCount();
        }
        queue.drain();  // what the throttler still held
        return outcome;
    }
};

TEST_F(CompletionStreamTest, FunctionCallsRunFurtherPassesThatAppendToTheText) {
    SseScript first, second, third;
    first.role()
        .content("Looking. ")
        .functionCall("get_page_content", std::nullopt)
        .functionCall(std::nullopt, "{\"docu")
        .functionCall(std::nullopt, "mentId\":")
        .functionCall(std::nullopt, "\"7\",\"pa")
        .functionCall(std::nullopt, "ge\":2}")
        .finish("function_call")
        .done();
    second.functionCall(std::nullopt, "{}").finish("function_call").done();
    third.content("Found it.").finish("stop").done();
    server.setHandler(inTurn({streamed(first, 3), streamed(second), streamed(third)}));

    std::vector<std::pair<std::string, std::string>> calls;
    auto step = [&](const std::string& name, const std::string& arguments) {
        calls.emplace_back(name, arguments);
        Message call;
        call.role = "assistant";
        call.functionName = name;
        call.functionArguments = arguments;
        Message result;
        result.role = "function";
        result.name = name;
        result.content = "page text " + std::to_string(calls.size());
        return CompletionStream::FunctionStepResult{true, {call, result}};
    };
    const Outcome outcome = drive(chat(), step);

    EXPECT_EQ(outcome.ending, CompletionStream::Ending::finished);
    EXPECT_EQ(outcome.passes, 3);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0], std::make_pair(std::string("get_page_content"),
                                       std::string(R"({"documentId":"7","page":2})")));
    // The name of the first call was used and emptied; the second came without.
    EXPECT_EQ(calls[1], std::make_pair(std::string(), std::string("{}")));
    EXPECT_EQ(outcome.text, "Looking. Found it.");
    EXPECT_EQ(sink->live, "Looking. Found it.");
    EXPECT_EQ(outcome.extraMessages.size(), 4u);
    EXPECT_EQ(sink->states,
              (std::vector<AssistantState>{AssistantState::typing, AssistantState::reading,
                                           AssistantState::typing, AssistantState::idle}));
    EXPECT_EQ(sink->finishReason, "stop");

    // Each pass sends the history and then every call and result so far.
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 3u);
    const auto messages = nlohmann::json::parse(requests[2].body).at("messages");
    ASSERT_EQ(messages.size(), 6u);  // system, user, two calls with their results
    EXPECT_EQ(messages[1].at("content"), "What does the paper say?");
    EXPECT_EQ(messages[2].at("function_call").at("arguments"), R"({"documentId":"7","page":2})");
    EXPECT_EQ(messages[3].at("role"), "function");
    EXPECT_EQ(messages[5].at("content"), "page text 2");
}

TEST_F(CompletionStreamTest, WithoutAFunctionStepACallEndsTheRequest) {
    SseScript script;
    script.functionCall("get_page_content", "{}").finish("function_call").done();
    server.setHandler(streamed(script));
    const Outcome outcome = drive(chat());
    EXPECT_EQ(outcome.passes, 1);
    EXPECT_EQ(sink->states,
              (std::vector<AssistantState>{AssistantState::reading, AssistantState::idle}));
    EXPECT_EQ(sink->finishReason, "function_call");
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(CompletionStreamTest, TheSeparatorCutsTheAnswerFromThePageLine) {
    struct Case {
        std::vector<std::string> contents;
        std::string answer;
        std::string pageLine;
    };
    const std::vector<Case> cases{
        {{"The answer is 42.\n\n.....RE", "FS.....\n Page: 1, 4 \n"},
         "The answer is 42.",
         "Page: 1, 4"},
        {{"  Kept as sent,\n", "with its blanks.  \n"},
         "  Kept as sent,\nwith its blanks.  \n",
         ""},
        {{"Only an answer .....REFS....."}, "Only an answer", "Only an answer"},
        {{".....REFS....."}, ".....REFS.....", ""},
        {{"A.....REFS.....1.....REFS.....2"}, "A", "2"},
        {{"Zürich 🏔 ", ".....REFS.....p.3"}, "Zürich 🏔", "p.3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.contents.front());
        sink = std::make_shared<RecordingSink>(queue);
        SseScript script;
        for (const auto& piece : c.contents) script.content(piece);
        script.finish("stop").done();
        server.setHandler(streamed(script, 5));
        const Outcome outcome = drive(chat());
        EXPECT_EQ(outcome.answer, c.answer);
        EXPECT_EQ(outcome.pageLine, c.pageLine);
        EXPECT_EQ(sink->live, c.answer);
    }
}

TEST_F(CompletionStreamTest, OnlyTheFirstChoiceOfAChunkWithoutFinishReasonCounts) {
    SseScript script;
    script.role()
        .chunk({{"choices", nlohmann::json::array()}})
        .chunk({{"choices",
                 {{{"index", 0}, {"delta", {{"content", "First"}}}, {"finish_reason", nullptr}},
                  {{"index", 1}, {"delta", {{"content", "Other"}}}, {"finish_reason", nullptr}}}}})
        .content(" choice.")
        .finish("length", " lost")
        .content(" after the end")
        .done();
    server.setHandler(streamed(script));
    const Outcome outcome = drive(chat());
    // A chunk with a finish reason gives nothing else; chunks behind it are
    // still read.
    EXPECT_EQ(outcome.text, "First choice. after the end");
    EXPECT_EQ(sink->finishReason, "length");
    EXPECT_EQ(sink->states.back(), AssistantState::idle);
}

TEST_F(CompletionStreamTest, FailuresReadWithTheirWords) {
    struct Case {
        std::string name;
        LoopbackServer::Handler handler;
        int contextLength;  // 0: the built-in route; else an Ollama model of that length
        int64_t customModelId = -1;
        std::string words;
        std::string partial;
        CompletionStream::Ending ending = CompletionStream::Ending::failed;
    };
    const std::string tooLong =
        "Your prompt is too long. Try switching to another model or edit your prompt.";
    // How each first block reads is the wire client's (tests/providers); here
    // the chat's words around it. The error event comes in one block with the
    // event behind it.
    SseScript before, errorAndAfter;
    before.content("Partial answer");
    errorAndAfter.chunk(nlohmann::json::parse(errorBody)).content("never read").done();
    const std::vector<std::string> partial{before.text(), errorAndAfter.text()};
    SseScript dropped;
    dropped.content("Half of it");
    const std::vector<Case> cases{
        {"401", test::plainResponse(errorBody, 401), 0, -1,
         leadIn + "Incorrect API key provided: sk-test.", "", CompletionStream::Ending::rejected},
        {"error inside the stream", test::chunkedResponse(partial, 200, {}, 2ms), 0, -1,
         leadIn + "Incorrect API key provided: sk-test.", "Partial answer",
         CompletionStream::Ending::rejected},
        {"another provider", test::plainResponse(errorBody, 401), 4096, -1,
         leadIn + "Incorrect API key provided: sk-test.", "", CompletionStream::Ending::rejected},
        {"route", test::plainResponse(errorBody, 401), 0, 999, "Initialization failed.", ""},
        {"too long", test::plainResponse(errorBody, 401), 3, -1, tooLong, ""},
        {"a dropped connection", test::chunkedResponse(dropped.events(), 200, {}, 1ms, true), 0, -1,
         "The network connection was lost.", "Half of it"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        sink = std::make_shared<RecordingSink>(queue);
        server.setHandler(c.handler);
        Conversation conversation = chat();
        if (c.contextLength > 0) conversation.customModelId = ollama(c.contextLength);
        if (c.customModelId >= 0) conversation.customModelId = c.customModelId;
        const size_t requestsBefore = server.requests().size();
        const Outcome outcome = drive(conversation);
        EXPECT_LE(server.requests().size(), requestsBefore + 1) << "nothing is retried";
        EXPECT_EQ(outcome.ending, c.ending);
        EXPECT_EQ(sink->lastError, c.words);
        EXPECT_EQ(sink->state, AssistantState::failed);
        EXPECT_EQ(sink->live, c.partial);
    }
}

TEST_F(CompletionStreamTest, CancellingPostsIdleWithThePartialText) {
    server.setHandler([this](const test::RecordedRequest&, httplib::Response& response) {
        auto sent = std::make_shared<bool>(false);
        response.set_chunked_content_provider(
            "text/event-stream", [this, sent](size_t, httplib::DataSink& sinkOut) {
                if (*sent) {
                    server.waitForRelease(10s);
                    sinkOut.done();
                    return true;
                }
                *sent = true;
                SseScript script;
                script.content("Half");
                return sinkOut.write(script.text().data(), script.text().size());
            });
    });
    const auto started = Clock::now();
    const Outcome outcome = drive(
        chat(), {}, [this] { return sink->live == "Half"; },
        [](std::stop_source& stop) { stop.request_stop(); });
    server.release();
    EXPECT_LT(Clock::now() - started, 5s);  // the task did not wait for the server
    EXPECT_EQ(outcome.ending, CompletionStream::Ending::cancelled);
    EXPECT_EQ(outcome.answer, "Half");
    EXPECT_EQ(sink->live, "Half");
    EXPECT_EQ(sink->states,
              (std::vector<AssistantState>{AssistantState::typing, AssistantState::idle}));
    EXPECT_TRUE(sink->lastError.empty());
}

TEST_F(CompletionStreamTest, LiveTextIsThrottledAndTheWholeAnswerAlwaysStands) {
    SseScript script;
    std::string whole;
    for (int i = 0; i < 150; ++i) {
        const std::string word = "w" + std::to_string(i) + " ";
        script.content(word);
        whole += word;
    }
    script.finish("stop").done();
    server.setHandler(test::chunkedResponse(script.events(), 200, {}, 2ms));
    const auto started = Clock::now();
    drive(chat());
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();

    ASSERT_FALSE(sink->liveWrites.empty());
    EXPECT_EQ(sink->liveWrites.back().second, whole);
    EXPECT_EQ(sink->live, whole);
    // At most one throttled write per 1/30 s, plus the first at once and the
    // direct one at the end.
    EXPECT_LE(sink->liveWrites.size(), size_t(seconds * 30) + 2);
    EXPECT_GE(sink->liveWrites.size(), 3u);  // the text grew while it arrived
    // The text never goes back to an earlier state.
    for (size_t i = 1; i < sink->liveWrites.size(); ++i) {
        EXPECT_GE(sink->liveWrites[i].second.size(), sink->liveWrites[i - 1].second.size());
    }
}

TEST_F(CompletionStreamTest, TheFinalWriteNeedsTypingAndALiveMessage) {
    SseScript script;
    script.content("Answer").finish("stop").done();
    server.setHandler(streamed(script));
    sink->live.reset();  // the request's live message is gone
    drive(chat());
    EXPECT_TRUE(sink->liveWrites.empty());
    EXPECT_FALSE(sink->live);
}

TEST(CompletionStreamErrorTextTest, APIErrorsGetTheLeadInAndOthersTheirOwnWords) {
    EXPECT_EQ(errorText(APIErrorResponse(APIError{"Bad model", "invalid_request_error", "", ""})),
              leadIn + "Bad model");
    EXPECT_EQ(errorText(std::runtime_error("Couldn't connect to server")),
              "Couldn't connect to server");
    EXPECT_EQ(errorText(std::make_exception_ptr(std::runtime_error("plain"))), "plain");
}

}  // namespace
}  // namespace folvane
