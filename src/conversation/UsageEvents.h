#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

#include "platform/HttpClient.h"

namespace folvane {

class AppPreferences;

// Receives the name of a usage event to report.
using UsageEventSender = std::function<void(const std::string& event)>;

// Reports usage events to the collector named by the setting
// usageEventsCollector: a POST of {"type", "hostname", "event"} to its path
// /events. With no collector set nothing is sent and nothing is queued.
//
// track() is called on the main thread, which reads the setting; the reports
// go out in order on one worker thread of their own, so the caller never
// waits. A report that fails is logged and dropped: it is never retried.
class UsageEvents {
  public:
    // The site under which the collector files our events.
    static constexpr const char* hostname = "linux.folvane";
    static constexpr double timeoutSeconds = 15.0;

    // When the object goes, reports still on their way get `grace` to arrive;
    // after that they are cancelled.
    UsageEvents(AppPreferences& preferences, std::shared_ptr<HttpClient> http,
                std::chrono::milliseconds grace = std::chrono::seconds(2));
    ~UsageEvents();
    UsageEvents(const UsageEvents&) = delete;
    UsageEvents& operator=(const UsageEvents&) = delete;

    // Queues the report of `event`, or does nothing without a collector.
    // Throws nothing.
    void track(const std::string& event);

    // Blocks until every queued report has been sent or has failed. For the
    // tests and the CLI.
    void waitForReports();

    // The request that reports `event` to the collector at `collector`
    // ("https://host[:port][/base]").
    static HttpRequest request(const std::string& collector, const std::string& event);

  private:
    void run(std::stop_token stop);
    void send(const HttpRequest& request, std::stop_token stop);

    AppPreferences& preferences_;
    std::shared_ptr<HttpClient> http_;
    std::chrono::milliseconds grace_;
    std::mutex mutex_;
    std::condition_variable_any queued_;
    std::condition_variable idle_;
    std::deque<HttpRequest> reports_;
    bool sending_ = false;
    std::jthread worker_;  // last: started on first use, stopped and joined first
};

}  // namespace folvane
