// The cost of reading a streamed chat completion as one event grows large. The
// same 10 MB of content is read as one event and as ten events of 1 MB, in
// blocks of 16 KB as libcurl hands them over; a reader whose cost is linear in
// the size of an event reads both in about the same time. The goal: the one
// large event within 2x the ten smaller ones.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <string>

#include "providers/StreamingSession.h"

namespace {

using namespace folvane;

constexpr size_t totalContent = size_t(10) << 20;
constexpr size_t blockSize = 16 * 1024;

// An event stream carrying totalContent bytes of text in `events` events.
std::string makeStream(int events) {
    const size_t each = totalContent / size_t(events);
    std::string stream;
    for (int i = 0; i < events; ++i) {
        std::string content(each, 'a' + char(i % 26));
        for (size_t at = 80; at < content.size(); at += 81) content[at] = ' ';
        stream +=
            R"(data: {"id":"c","object":"chat.completion.chunk","created":1,"model":"m","choices":[{"index":0,"delta":{"content":")" +
            content + R"("},"finish_reason":null}]})" + "\n\n";
    }
    return stream + "data: [DONE]\n\n";
}

std::map<int, double> seconds;

void BM_ReadStream(benchmark::State& state) {
    const int events = int(state.range(0));
    const std::string stream = makeStream(events);
    const HttpResponseHead head{200, {{"Content-Type", "text/event-stream"}}};
    double total = 0;
    size_t runs = 0;
    for (auto _ : state) {
        size_t received = 0;
        bool failed = false;
        const auto started = std::chrono::steady_clock::now();
        StreamingSession session(
            [&](const ChatStreamResult& result) {
                received += result.choices.at(0).delta.content.value_or("").size();
            },
            [&](std::exception_ptr) { failed = true; });
        for (size_t at = 0; at < stream.size(); at += blockSize) {
            session.receiveBlock(head, std::string_view(stream).substr(at, blockSize));
        }
        session.finish();
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        ++runs;
        if (failed || received != totalContent) state.SkipWithError("the stream was not read");
    }
    seconds[events] = total / double(runs);
}

BENCHMARK(BM_ReadStream)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (seconds.count(1) && seconds.count(10) && seconds[10] > 0) {
        const double ratio = seconds[1] / seconds[10];
        std::printf(
            "One 10 MB event: %.1f ms; ten 1 MB events: %.1f ms; ratio %.2fx (goal <= 2x): %s\n",
            seconds[1] * 1e3, seconds[10] * 1e3, ratio, ratio <= 2.0 ? "met" : "NOT met");
    }
    return 0;
}
