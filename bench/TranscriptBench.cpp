// The transcript page of a chat window, offscreen (QT_QPA_PLATFORM=offscreen,
// QTWEBENGINE_DISABLE_SANDBOX=1 as root).
//
// Opening: a chat of 500 messages with code blocks, from the view's creation
// to the last message's rendered text coming back, against an empty chat in
// the same run. Streaming: a reply of about 20,000 tokens with code and
// mathematics grows block by block; each block's time is from the state
// change to the rendered text of the grown message coming back. Printed: the
// cost of the last tenth of the blocks against the first tenth, and the
// longest block.
#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <numeric>

#include "conversation/ViewModel.h"
#include "shell/chat/TranscriptView.h"
#include "store/AppPreferences.h"

using namespace folvane;

namespace {

class BenchChat final : public PublishingViewModel<ChatDetailState, ChatDetailInput> {
  public:
    BenchChat() : PublishingViewModel(ChatDetailState{}) {}
    void trigger(ChatDetailInput) override {}
    void set(const std::function<void(ChatDetailState&)>& change) { updateState(change); }
};

Message message(int64_t id, std::string role, std::string content) {
    Message m;
    m.id = id;
    m.role = std::move(role);
    m.content = std::move(content);
    return m;
}

std::string answer(int n) {
    return "Answer " + std::to_string(n) +
           " explains the *chain* of blocks.\n\n```cpp\nint work(int nonce) {\n    return "
           "hash(nonce) < target;\n}\n```\n\nThen the next step follows.";
}

// Milliseconds from the view's creation to the rendered text of `lastKey`.
double openChat(std::vector<Message> messages, const QString& lastKey) {
    auto chat = std::make_shared<BenchChat>();
    chat->set([&](ChatDetailState& s) {
        s.loaded = true;
        s.messages = std::move(messages);
    });
    AppPreferences preferences;
    QElapsedTimer timer;
    timer.start();
    TranscriptView view(ChatDetailRef(chat), preferences);
    view.resize(900, 700);
    view.show();
    const bool done = QTest::qWaitFor(
        [&] {
            return lastKey.isEmpty() ? view.isPageReady() : !view.renderedText(lastKey).isEmpty();
        },
        60000);
    const double ms = timer.nsecsElapsed() / 1e6;
    return done ? ms : -1;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);

    // Warm the engine once so that neither measurement pays its start.
    openChat({}, {});
    const double empty = openChat({}, {});
    std::vector<Message> messages;
    for (int i = 1; i <= 500; ++i)
        messages.push_back(i % 2 ? message(i, "user", "Question " + std::to_string(i))
                                 : message(i, "assistant", answer(i)));
    const double full = openChat(messages, "500");
    std::printf(
        "open: empty chat %.1f ms, 500 messages %.1f ms, ratio %.2f (goal: last "
        "messages within 300 ms)\n",
        empty, full, empty > 0 ? full / empty : 0);

    auto chat = std::make_shared<BenchChat>();
    chat->set([](ChatDetailState& s) {
        s.messages = {message(1, "user", "Explain")};
        s.liveMessage = message(Message::liveMessageId, "assistant", "");
        s.assistantState = AssistantState::typing;
    });
    AppPreferences preferences;
    preferences.setUseLaTeX(true);
    TranscriptView view(ChatDetailRef(chat), preferences);
    view.resize(900, 700);
    view.show();
    if (!QTest::qWaitFor([&] { return view.isPageReady(); }, 60000)) return 1;

    // About 20 tokens a block, 1,000 blocks; a code block and a formula every
    // fifty blocks.
    std::string reply;
    std::vector<double> blocks;
    for (int block = 0; block < 1000; ++block) {
        if (block % 50 == 10) reply += "\n\n```python\nx = [i * i for i in range(10)]\n";
        if (block % 50 == 12) reply += "```\n\n";
        if (block % 50 == 30) reply += " $e^{i\\pi} + 1 = 0$ ";
        reply += "the nodes accept the longest chain of proof of work as the valid one, block " +
                 std::to_string(block) + ". ";
        QElapsedTimer timer;
        timer.start();
        chat->set([&](ChatDetailState& s) { s.liveMessage->content = reply; });
        const auto words = QString::fromStdString(reply).simplified().right(14);
        if (!QTest::qWaitFor([&] { return view.renderedText("live").simplified().endsWith(words); },
                             10000)) {
            std::printf("block %d never came back\n", block);
            return 1;
        }
        blocks.push_back(timer.nsecsElapsed() / 1e6);
    }
    const size_t tenth = blocks.size() / 10;
    const double first = std::accumulate(blocks.begin(), blocks.begin() + tenth, 0.0) / tenth;
    const double last = std::accumulate(blocks.end() - tenth, blocks.end(), 0.0) / tenth;
    std::printf(
        "stream: %zu blocks, %zu characters; first tenth %.2f ms a block, last tenth "
        "%.2f ms, ratio %.2f (goal: at most 1.5); longest block %.1f ms\n",
        blocks.size(), reply.size(), first, last, last / first,
        *std::max_element(blocks.begin(), blocks.end()));
    return 0;
}
