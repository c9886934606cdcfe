#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "chat/CompletionSink.h"
#include "providers/ChatStreamResult.h"
#include "store/Conversation.h"
#include "store/Message.h"

namespace folvane {

class ChatService;
class Throttler;

// The words the user reads for a failed send, regenerate or stream: an API
// error body gets a fixed lead-in before the provider's message, whichever
// provider sent it; anything else is its what().
std::string errorText(const std::exception& error);
std::string errorText(std::exception_ptr error);

// The consumer of one request's completion: runs the streamed passes through
// ChatService::chatStream on the calling thread (the request's task), which
// hands it each event as it comes off the wire; assembles text and function
// calls from the events, cuts the answer from the page line at the separator,
// and shows it through a CompletionSink. The live text goes through a
// throttler (at most one write per throttle delay) and once more, directly, at
// the end of each pass, so the whole answer always stands; a throttled write
// that comes late never hides a newer one. The live text never shows a part
// of the separator. One object per request; run() is called once.
class CompletionStream {
  public:
    static constexpr std::chrono::duration<double> defaultThrottleDelay{1.0 / 30.0};

    // What the function step gives back: whether it succeeded (a further pass
    // then follows), and the messages (the call and its result) that the next
    // pass sends after the history.
    struct FunctionStepResult {
        bool succeeded = false;
        std::vector<Message> extraMessages;
    };
    // Carries out a function call, on the request's task. The name is the one
    // assembled from the stream, maybe empty. A throw ends the passes as a
    // failure of the stream.
    using FunctionStep =
        std::function<FunctionStepResult(const std::string& name, const std::string& arguments)>;

    enum class Ending {
        finished,   // the passes ended; idle was posted
        cancelled,  // a stop request or a cancelled transfer; idle was posted
        failed,     // an error of the transfer or the stream; lastError and failed were
                    // posted, and the text that came is the answer as far as it got
        rejected,   // the server sent an error object, also after some text; lastError
                    // and failed were posted, and the text that came is no answer
    };

    // Without a function step a function call does nothing and starts no
    // further pass (requests declare no functions).
    CompletionStream(ChatService& service, std::shared_ptr<CompletionSink> sink,
                     FunctionStep functionStep = {},
                     std::chrono::duration<double> throttleDelay = defaultThrottleDelay);
    ~CompletionStream();
    CompletionStream(const CompletionStream&) = delete;
    CompletionStream& operator=(const CompletionStream&) = delete;

    // Runs the passes: each sends history followed by the extra messages of
    // the function calls so far. Never throws: the outcome goes to the sink
    // and is returned. A stop request ends the transfer.
    Ending run(const std::string& systemInstruction, const std::vector<Message>& history,
               const Conversation& conversation, std::stop_token stop = {});

    // The values of the request, read on the request's task after run().
    const std::string& text() const { return text_; }
    const std::string& answer() const { return answer_; }
    const std::string& pageLine() const { return pageLine_; }
    const std::string& functionName() const { return functionName_; }
    const std::string& functionArguments() const { return functionArguments_; }
    bool functionCalled() const { return functionCalled_; }
    bool reasonSeen() const { return reasonSeen_; }
    bool announced() const { return announced_; }
    const std::vector<Message>& extraMessages() const { return extraMessages_; }
    // The words sent as lastError, or empty.
    const std::string& errorWords() const { return errorWords_; }
    int passCount() const { return passCount_; }

    // A safety bound: a model that keeps calling functions ends the request
    // after this many passes.
    static constexpr int maximumPasses = 16;

    // The answer and page line of a text, as the splitting rule gives them;
    // pageLine keeps its value when the text holds only separators.
    static void split(const std::string& text, std::string& answer, std::string& pageLine);
    // What of an answer stands for sure while the text still arrives without
    // a whole separator: a tail that may begin the separator, and trailing
    // blanks (which the answer loses once the separator comes), wait.
    static std::string settledText(const std::string& answer);

  private:
    enum class PassEnd { stopped, ended };

    PassEnd runPass(const std::string& systemInstruction, const std::vector<Message>& history,
                    const Conversation& conversation, std::stop_token stop);
    void receive(const ChatStreamResult& chunk);
    void announce(AssistantState state);
    void showLiveText();
    void showFinalText();

    ChatService& service_;
    std::shared_ptr<CompletionSink> sink_;
    FunctionStep functionStep_;
    // Orders the live text's writes: each carries a number, and one older than
    // the last written is dropped.
    struct LiveWrites {
        std::mutex mutex;
        uint64_t latest = 0;
    };
    std::shared_ptr<LiveWrites> liveWrites_ = std::make_shared<LiveWrites>();
    std::unique_ptr<Throttler> throttler_;

    std::string text_;
    std::string answer_;
    std::string pageLine_;
    std::string functionName_;
    std::string functionArguments_;
    bool functionCalled_ = false;
    bool reasonSeen_ = false;
    bool announced_ = false;
    std::vector<Message> extraMessages_;
    std::string errorWords_;
    int passCount_ = 0;
};

}  // namespace folvane
