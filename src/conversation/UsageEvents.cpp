#include "conversation/UsageEvents.h"

#include <nlohmann/json.hpp>

#include "platform/Log.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

// The build names the version; a build that does not says the name alone.
#ifdef FOLVANE_VERSION
constexpr const char* userAgent = "Folvane/" FOLVANE_VERSION;
#else
constexpr const char* userAgent = "Folvane";
#endif

}  // namespace

UsageEvents::UsageEvents(AppPreferences& preferences, std::shared_ptr<HttpClient> http,
                         std::chrono::milliseconds grace)
    : preferences_(preferences), http_(std::move(http)), grace_(grace) {}

UsageEvents::~UsageEvents() {
    if (!worker_.joinable()) return;
    {
        std::unique_lock lock(mutex_);
        idle_.wait_for(lock, grace_, [this] { return reports_.empty() && !sending_; });
        reports_.clear();
    }
    worker_.request_stop();  // ends the report in flight at its next tick
    worker_.join();
}

HttpRequest UsageEvents::request(const std::string& collector, const std::string& event) {
    std::string base = collector;
    while (!base.empty() && base.back() == '/') base.pop_back();
    nlohmann::ordered_json body;
    body["type"] = "event";
    body["hostname"] = hostname;
    body["event"] = event;
    HttpRequest request;
    request.method = "POST";
    request.url = base + "/events";
    request.headers = {{"Content-Type", "application/json"}, {"User-Agent", userAgent}};
    request.body = body.dump();
    request.timeoutSeconds = timeoutSeconds;
    return request;
}

void UsageEvents::track(const std::string& event) {
    try {
        const std::string collector = preferences_.usageEventsCollector();
        if (collector.empty()) return;
        {
            std::lock_guard lock(mutex_);
            reports_.push_back(request(collector, event));
        }
        if (!worker_.joinable())
            worker_ = std::jthread([this](std::stop_token stop) { run(stop); });
        queued_.notify_one();
    } catch (const std::exception& error) {
        // A report is worth less than whatever called for it: a thread that
        // cannot start loses the report and nothing else.
        log("Usage event \"" + event + "\" not reported: " + error.what());
    }
}

void UsageEvents::waitForReports() {
    std::unique_lock lock(mutex_);
    idle_.wait(lock, [this] { return reports_.empty() && !sending_; });
}

void UsageEvents::run(std::stop_token stop) {
    std::unique_lock lock(mutex_);
    while (true) {
        queued_.wait(lock, stop, [this] { return !reports_.empty(); });
        if (reports_.empty() || stop.stop_requested()) return;
        HttpRequest next = std::move(reports_.front());
        reports_.pop_front();
        sending_ = true;
        lock.unlock();
        send(next, stop);
        lock.lock();
        sending_ = false;
        if (reports_.empty()) idle_.notify_all();
    }
}

void UsageEvents::send(const HttpRequest& request, std::stop_token stop) {
    try {
        const HttpResponseHead head = http_->perform(
            request, [](const HttpResponseHead&, std::string_view) { return true; }, stop);
        if (head.status < 200 || head.status >= 300) {
            log("Usage event not reported: the collector answered " + std::to_string(head.status));
        }
    } catch (const std::exception& error) {
        // Dropped on purpose: the milestone's flag is already set, so it is
        // never reported twice, and no one waits for the answer. A report is
        // not worth a retry, a queue on disk or a word to the user.
        log(std::string("Usage event not reported: ") + error.what());
    }
}

}  // namespace folvane
