// The transcript page of a chat window, offscreen (QT_QPA_PLATFORM=offscreen,
// QTWEBENGINE_DISABLE_SANDBOX=1 as root).
//
// Opening: a chat of 500 messages with code blocks, from the window's show to
// the page's report that a frame showing the last rows is painted, against an
// empty chat opened the same way in the same run. Warm: the web engine runs
// already and the page pool has a loaded page waiting, as for every chat
// window after the first. Cold: the first view of the process, which starts
// the web engine and loads the page itself. While a chat opens a 5 ms timer
// on the main thread measures the longest gap between its ticks: the longest
// task.
//
// Streaming: a reply of about 20,000 tokens with code and mathematics grows
// block by block; each block's time is from the state change to the painted
// frame that shows it, with its rendered text back. Printed: the last tenth of
// the blocks against the first tenth, the 95th percentile, and the longest
// main-thread task meanwhile.
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <numeric>

#include "shell/chat/TranscriptView.h"
#include "shell/chat/transcript/TranscriptPagePool.h"
#include "store/AppPreferences.h"
#include "support/TranscriptBenchChat.h"

using namespace folvane;
using bench::TranscriptBenchChat;

namespace {

// The longest gap between the ticks of a 5 ms timer on the main thread.
class Heartbeat {
  public:
    Heartbeat() {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            longest_ = std::max(longest_, since_.nsecsElapsed() / 1e6);
            since_.start();
        });
        since_.start();
        timer_.start(5);
    }
    double longestMs() const { return longest_; }

  private:
    QTimer timer_;
    QElapsedTimer since_;
    double longest_ = 0;
};

// Runs the event loop until `done` holds; false after `timeoutMs`. Waits for
// events rather than sleeping, so the heartbeat stays exact.
template <typename Predicate>
bool runUntil(Predicate done, int timeoutMs = 60000) {
    QElapsedTimer waited;
    waited.start();
    QTimer wake;
    wake.start(5);
    while (!done()) {
        if (waited.elapsed() > timeoutMs) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void waitForSpare(TranscriptPagePool& pool) {
    pool.prepare();
    runUntil([&] { return pool.hasReadySpare(); });
}

struct Open {
    double fromShow = -1;
    double fromCreation = -1;
    double longestTask = 0;
};

// Opens a chat and waits for the first frame that shows all of it: the rows
// go to the page in one update, and the view sticks to the end.
Open openChat(std::vector<Message> messages, TranscriptPagePool& pool) {
    auto chat = std::make_shared<TranscriptBenchChat>();
    chat->set([&](ChatDetailState& s) {
        s.loaded = true;
        s.messages = std::move(messages);
    });
    AppPreferences preferences;
    Open open;
    Heartbeat heartbeat;
    QElapsedTimer created;
    created.start();
    TranscriptView view(ChatDetailRef(chat), preferences, nullptr, &pool);
    bool painted = false;
    QObject::connect(&view, &TranscriptView::framePainted, [&](int updates, const QString&) {
        if (updates >= 1 && updates >= view.updatesSent()) painted = true;
    });
    view.resize(900, 700);
    QElapsedTimer shown;
    shown.start();
    view.show();
    if (!runUntil([&] { return painted; })) return open;
    open.fromShow = shown.nsecsElapsed() / 1e6;
    open.fromCreation = created.nsecsElapsed() / 1e6;
    open.longestTask = heartbeat.longestMs();
    return open;
}

double percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(p * values.size()))];
}

int stream(TranscriptPagePool& pool) {
    auto chat = std::make_shared<TranscriptBenchChat>();
    chat->set([](ChatDetailState& s) {
        s.messages = {TranscriptBenchChat::message(1, "user", "Explain")};
        s.liveMessage = TranscriptBenchChat::message(Message::liveMessageId, "assistant", "");
        s.assistantState = AssistantState::typing;
    });
    AppPreferences preferences;
    preferences.setUseLaTeX(true);
    waitForSpare(pool);
    TranscriptView view(ChatDetailRef(chat), preferences, nullptr, &pool);
    view.resize(900, 700);
    view.show();
    if (!runUntil([&] { return view.isPageReady() && view.paintedUpdates() >= 1; })) return 1;

    // About 20 tokens a block, 1,000 blocks; a code block and a formula every
    // fifty blocks.
    std::string reply;
    std::vector<double> blocks;
    Heartbeat heartbeat;
    for (int block = 0; block < 1000; ++block) {
        if (block % 50 == 10) reply += "\n\n```python\nx = [i * i for i in range(10)]\n";
        if (block % 50 == 12) reply += "\n```\n\n";
        if (block % 50 == 30) reply += " $e^{i\\pi} + 1 = 0$ ";
        if (block % 50 == 40) reply += "\n\n$$\n\\int_0^1 x^2 \\, dx = \\frac{1}{3}\n$$\n\n";
        reply += "the nodes accept the longest chain of proof of work as the valid one, block " +
                 std::to_string(block) + ". ";
        const int sent = view.updatesSent();
        QElapsedTimer timer;
        timer.start();
        chat->set([&](ChatDetailState& s) { s.liveMessage->content = reply; });
        const auto words = QString::fromStdString(reply).simplified().right(14);
        if (!runUntil(
                [&] {
                    return view.updatesSent() > sent &&
                           view.paintedUpdates() >= view.updatesSent() &&
                           view.renderedText("live").simplified().endsWith(words);
                },
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
        "stream: %zu blocks, %zu characters; first tenth %.2f ms a block, last tenth %.2f ms, "
        "ratio %.2f (goal: at most 1.5)\n",
        blocks.size(), reply.size(), first, last, last / first);
    std::printf("stream: block to painted text p95 %.1f ms (goal: at most 50 ms)\n",
                percentile(blocks, 0.95));
    std::printf("stream: longest main-thread task %.1f ms (goal: under 50 ms)\n",
                heartbeat.longestMs());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);

    TranscriptPagePool pool;
    const Open cold = openChat(TranscriptBenchChat::longChat(500), pool);
    waitForSpare(pool);
    const Open empty = openChat({}, pool);
    waitForSpare(pool);
    const Open full = openChat(TranscriptBenchChat::longChat(500), pool);
    if (cold.fromShow < 0 || empty.fromShow < 0 || full.fromShow < 0) {
        std::printf("open: a chat never painted (cold %.0f, empty %.0f, full %.0f)\n",
                    cold.fromShow, empty.fromShow, full.fromShow);
        return 1;
    }
    std::printf(
        "open (warm): 500 messages painted %.1f ms after the show (%.1f ms after the view's "
        "creation), empty chat %.1f ms, ratio %.2f (goal: last messages within 300 ms)\n",
        full.fromShow, full.fromCreation, empty.fromShow, full.fromShow / empty.fromShow);
    std::printf("open (warm): longest main-thread task %.1f ms (goal: at most 50 ms)\n",
                full.longestTask);
    std::printf(
        "open (cold, the process's first view): 500 messages painted %.1f ms after the show, "
        "%.2f times the warm empty chat; longest main-thread task %.1f ms\n",
        cold.fromShow, cold.fromShow / empty.fromShow, cold.longestTask);
    return stream(pool);
}
