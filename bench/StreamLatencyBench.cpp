// How long a streamed answer's text takes to reach the screen. A loopback
// server streams a chat completion of N content blocks at a steady pace; the
// request goes the whole way a chat's does (AppChatService::chatStream, the
// wire client over libcurl, the CompletionStream with its 1/30 s throttle), and
// a thread draining a BlockingMainQueue stands in for the window's event loop.
//
// For each block: from its arrival at the client, timed in the HTTP client's
// block callback (called from curl's write callback, as the bytes come off the
// socket), to the first write of the live text on the main queue that holds
// it. The goal is p95 <= 50 ms. The throttle holds text back by design (up to
// 1/30 s when blocks come faster than that), so this is what the user sees.
//
// Baselines in the same run: the same path with the throttle off (the cost of
// the path itself), and the loopback transport alone (server flush to
// arrival).

#include <benchmark/benchmark.h>
#include <httplib.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>

#include "chat/AppChatService.h"
#include "chat/CompletionStream.h"
#include "platform/AppPaths.h"
#include "platform/CurlHttpClient.h"
#include "providers/GPTEncoder.h"
#include "runtime/BlockingMainQueue.h"
#include "store/AppPreferences.h"
#include "store/SqliteConnection.h"

namespace {

using namespace folvane;
using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

// A real libcurl client that times each block as it arrives, and sends the
// built-in route's https:// as plain http to the loopback server.
class TimingHttpClient : public HttpClient {
  public:
    struct Arrival {
        Clock::time_point at;
        size_t totalBytes;
    };

    HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                             std::stop_token stop) override {
        HttpRequest plain = request;
        if (plain.url.starts_with("https://")) plain.url = "http://" + plain.url.substr(8);
        size_t total = 0;
        return inner_.perform(
            plain,
            [&](const HttpResponseHead& head, std::string_view block) {
                total += block.size();
                {
                    std::lock_guard lock(mutex_);
                    arrivals_.push_back({Clock::now(), total});
                }
                return onBlock(head, block);
            },
            stop);
    }
    std::filesystem::path download(const HttpRequest& request, std::stop_token stop) override {
        return inner_.download(request, stop);
    }

    std::vector<Arrival> takeArrivals() {
        std::lock_guard lock(mutex_);
        return std::exchange(arrivals_, {});
    }

  private:
    CurlHttpClient inner_;
    std::mutex mutex_;
    std::vector<Arrival> arrivals_;
};

// Hands each change to the main queue, as the chat's sink does, and times the
// live text's writes there.
class TimingSink : public CompletionSink {
  public:
    explicit TimingSink(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

    std::vector<std::pair<Clock::time_point, size_t>> writes;  // time, length of the text
    std::string error;

    void setAssistantState(AssistantState) override {}
    void showLiveText(const std::string& answer) override { write(answer.size()); }
    void showAnswer(const std::string& answer) override { write(answer.size()); }
    void setLastFinishReason(const std::string&) override {}
    void fail(const std::string& words) override {
        mainQueue_.post([this, words] { error = words; });
    }

  private:
    void write(size_t length) {
        mainQueue_.post([this, length] { writes.emplace_back(Clock::now(), length); });
    }

    MainQueue& mainQueue_;
};

// The event stream of N blocks, with where each event ends in the body and
// how long the text is once it has been read.
struct Script {
    std::vector<std::string> events;
    std::vector<size_t> eventEnds;
    std::vector<size_t> textLengths;
};

Script makeScript(int blocks) {
    Script script;
    size_t bodyBytes = 0;
    size_t textBytes = 0;
    for (int i = 0; i < blocks; ++i) {
        const std::string content = " token" + std::to_string(i);
        std::string event =
            R"(data: {"id":"c","object":"chat.completion.chunk","created":1,"model":"m","choices":[{"index":0,"delta":{"content":")" +
            content + R"("},"finish_reason":null}]})" + "\n\n";
        bodyBytes += event.size();
        textBytes += content.size();
        script.events.push_back(std::move(event));
        script.eventEnds.push_back(bodyBytes);
        script.textLengths.push_back(textBytes);
    }
    script.events.push_back(
        R"(data: {"id":"c","object":"chat.completion.chunk","created":1,"model":"m","choices":[{"index":0,"delta":{},"finish_reason":"stop"}]})"
        "\n\ndata: [DONE]\n\n");
    return script;
}

struct Latencies {
    std::vector<double> shown;      // arrival to the main queue's write
    std::vector<double> transport;  // server flush to arrival
};

double percentile(std::vector<double> values, double p) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5));
    return values[index];
}

Latencies streamOnce(int blocks, std::chrono::milliseconds pace, double throttleDelay) {
    const Script script = makeScript(blocks);
    std::vector<Clock::time_point> flushed(script.events.size());

    httplib::Server server;
    server.set_tcp_nodelay(true);
    server.Post(".*", [&](const httplib::Request&, httplib::Response& response) {
        auto next = std::make_shared<size_t>(0);
        response.set_chunked_content_provider("text/event-stream",
                                              [&, next](size_t, httplib::DataSink& sink) {
                                                  if (*next == script.events.size()) {
                                                      sink.done();
                                                      return true;
                                                  }
                                                  if (*next > 0) std::this_thread::sleep_for(pace);
                                                  const std::string& event = script.events[*next];
                                                  if (!sink.write(event.data(), event.size()))
                                                      return false;
                                                  flushed[(*next)++] = Clock::now();
                                                  return true;
                                              });
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    std::thread serving([&] { server.listen_after_bind(); });
    while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));

    const auto folder = std::filesystem::temp_directory_path() /
                        ("folvane-stream-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    Latencies latencies;
    {
        auto db = SqliteConnection::create((folder / "db.sqlite3").string());
        AppPreferences preferences;
        preferences.setCustomHost("127.0.0.1:" + std::to_string(port));
        auto http = std::make_shared<TimingHttpClient>();
        auto encoder = std::make_shared<GPTEncoder>(
            std::filesystem::path(AppPaths::standard().resourceDirectory));
        AppChatService service(db, preferences, http, encoder);
        BlockingMainQueue mainQueue;
        auto sink = std::make_shared<TimingSink>(mainQueue);

        Conversation conversation;
        conversation.model = "gpt-4";
        Message question;
        question.role = "user";
        question.content = "Tell me about the paper.";

        std::atomic<bool> finished = false;
        {
            CompletionStream stream(service, sink, {},
                                    std::chrono::duration<double>(throttleDelay));
            std::jthread task([&] {
                stream.run("Answer briefly.", {question}, conversation);
                mainQueue.post([&] { finished = true; });
            });
            mainQueue.runUntil([&] { return finished.load(); }, std::chrono::minutes(2));
        }
        mainQueue.drain();
        if (!sink->error.empty()) std::fprintf(stderr, "stream failed: %s\n", sink->error.c_str());

        const auto arrivals = http->takeArrivals();
        for (int i = 0; i < blocks; ++i) {
            auto arrival = std::find_if(arrivals.begin(), arrivals.end(), [&](const auto& a) {
                return a.totalBytes >= script.eventEnds[i];
            });
            auto shown = std::find_if(sink->writes.begin(), sink->writes.end(), [&](const auto& w) {
                return w.second >= script.textLengths[i];
            });
            if (arrival == arrivals.end() || shown == sink->writes.end()) continue;
            latencies.shown.push_back(milliseconds(shown->first - arrival->at));
            latencies.transport.push_back(milliseconds(arrival->at - flushed[i]));
        }
    }
    server.stop();
    serving.join();
    std::filesystem::remove_all(folder);
    return latencies;
}

struct Figures {
    double p50 = 0, p95 = 0, transportP95 = 0;
    size_t blocks = 0;
};
std::map<std::string, Figures> results;

void BM_StreamLatency(benchmark::State& state, int paceMs, double throttleDelay,
                      const std::string& name) {
    Latencies all;
    for (auto _ : state) {
        Latencies run = streamOnce(200, std::chrono::milliseconds(paceMs), throttleDelay);
        all.shown.insert(all.shown.end(), run.shown.begin(), run.shown.end());
        all.transport.insert(all.transport.end(), run.transport.begin(), run.transport.end());
    }
    Figures figures{percentile(all.shown, 0.5), percentile(all.shown, 0.95),
                    percentile(all.transport, 0.95), all.shown.size()};
    state.counters["p50_ms"] = figures.p50;
    state.counters["p95_ms"] = figures.p95;
    state.counters["blocks"] = double(figures.blocks);
    results[name] = figures;
}

BENCHMARK_CAPTURE(BM_StreamLatency, pace10ms_throttled, 10, 1.0 / 30.0, "10 ms, throttled")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_StreamLatency, pace10ms_unthrottled, 10, 0.0, "10 ms, no throttle")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_StreamLatency, pace40ms_throttled, 40, 1.0 / 30.0, "40 ms, throttled")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    std::printf(
        "\nArrival at the client (curl's write callback) to the live text's write on "
        "the main queue, per block:\n");
    for (const auto& [name, f] : results) {
        std::printf(
            "  %-20s p50 %6.2f ms  p95 %6.2f ms  (%zu blocks; loopback transport p95 "
            "%.2f ms)\n",
            name.c_str(), f.p50, f.p95, f.blocks, f.transportP95);
    }
    const auto throttled = results.find("10 ms, throttled");
    const auto bare = results.find("10 ms, no throttle");
    if (throttled != results.end() && bare != results.end() && bare->second.p95 > 0) {
        std::printf(
            "Throttled p95 / unthrottled p95 at 10 ms a block: %.1fx (the throttle's "
            "designed hold-back)\n",
            throttled->second.p95 / bare->second.p95);
    }
    for (const auto& [name, f] : results) {
        if (name.find("no throttle") != std::string::npos) continue;
        std::printf("Goal p95 <= 50 ms, %s: %.2f ms, %.2fx the goal: %s\n", name.c_str(), f.p95,
                    f.p95 / 50.0, f.p95 <= 50.0 ? "met" : "NOT met");
    }
    return 0;
}
