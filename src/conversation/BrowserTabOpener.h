#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "conversation/BrowserTabError.h"
#include "platform/FrontmostWindow.h"
#include "platform/SupportedBrowser.h"

namespace folvane {

class HttpClient;
class MainQueue;

// Opens the PDF of the browser's current tab as a chat: finds the browser by
// the frontmost window, reads the tab's URL, checks with a HEAD request that
// it serves a PDF, downloads it into the home folder and hands it to the
// chat list. Each step below throws BrowserTabError with the alert's words;
// start() runs them all on its own thread and reports on the main queue.
class BrowserTabOpener {
  public:
    // What the front end does with the flow's results; each is called on the
    // main queue.
    struct Callbacks {
        // Whether a document is on its way (the start window shows "Opening...").
        std::function<void(bool opening)> setOpening;
        // Brings the application forward once the tab is known to be a PDF.
        std::function<void()> bringToFront;
        // Makes the chat of a file URL and returns its id; throws the
        // service's error.
        std::function<int64_t(const std::string& fileUrl)> openFile;
        // Opens the window of that chat.
        std::function<void(int64_t chatId)> openChat;
        // A critical alert.
        std::function<void(const std::string& title, const std::string& text)> alert;
        // Last of all, with the chat's id when one was opened.
        std::function<void(std::optional<int64_t> chatId)> finished;
    };

    BrowserTabOpener(HttpClient& http, MainQueue& mainQueue, std::filesystem::path home,
                     Callbacks callbacks);
    // Stops a running fetch and waits for its thread.
    ~BrowserTabOpener();
    BrowserTabOpener(const BrowserTabOpener&) = delete;
    BrowserTabOpener& operator=(const BrowserTabOpener&) = delete;

    // The flow for the window that was frontmost at the key press (none: no X
    // display). An unsupported browser is reported at once, through the main
    // queue; the rest runs on a thread. A press while a fetch runs is dropped.
    // profile, when given, is the browser's profile folder to read instead of
    // the ones it usually keeps.
    void start(const std::optional<FrontmostWindow>& window,
               std::optional<std::filesystem::path> profile = std::nullopt);
    // The same for a browser chosen by name, with no window title.
    void start(const SupportedBrowser& browser,
               std::optional<std::filesystem::path> profile = std::nullopt);
    bool isRunning() const { return running_; }

    // The steps.
    SupportedBrowser browserOf(const std::optional<FrontmostWindow>& window) const;
    std::string currentURL(const SupportedBrowser& browser, const std::string& windowTitle,
                           const std::optional<std::filesystem::path>& profile,
                           std::stop_token stop = {}) const;
    // The HEAD probe: passes when "Content-Type" contains "application/pdf".
    void expectPdf(const std::string& url, std::stop_token stop = {}) const;
    // Downloads to a temporary file and moves it to targetPath(url, now).
    std::filesystem::path download(const std::string& url, std::stop_token stop = {}) const;
    // The home folder and the URL's last path component; when a file lies
    // there, the component, "-" and the local time "yyyy-MM-dd-HH-mm-ss".
    std::filesystem::path targetPath(const std::string& url,
                                     std::chrono::system_clock::time_point now) const;

    static constexpr double probeTimeoutSeconds = 30.0;

  private:
    void startTask(SupportedBrowser browser, std::string windowTitle,
                   std::optional<std::filesystem::path> profile);
    void run(SupportedBrowser browser, std::string windowTitle,
             std::optional<std::filesystem::path> profile, std::stop_token stop);
    void fail(const BrowserTabError& error);

    HttpClient& http_;
    MainQueue& mainQueue_;
    std::filesystem::path home_;
    Callbacks callbacks_;
    std::atomic<bool> running_ = false;
    std::jthread task_;
};

}  // namespace folvane
