#include "conversation/BrowserTabOpener.h"

#include <unistd.h>

#include <cctype>
#include <ctime>

#include "platform/DevToolsTabs.h"
#include "platform/FileUrl.h"
#include "platform/FirefoxSession.h"
#include "platform/HttpClient.h"
#include "platform/Log.h"
#include "runtime/MainQueue.h"

namespace folvane {

namespace {

// "scheme://rest" with a scheme of letters, digits, "+", "-", ".".
bool looksLikeURL(const std::string& text) {
    const size_t colon = text.find("://");
    if (colon == std::string::npos || colon == 0 || colon + 3 >= text.size()) return false;
    if (!std::isalpha(static_cast<unsigned char>(text[0]))) return false;
    for (size_t i = 0; i < colon; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') return false;
    }
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ') return false;
    }
    return true;
}

std::string percentDecoded(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() &&
            std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            out.push_back(char(std::stoi(text.substr(i + 1, 2), nullptr, 16)));
            i += 2;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

// The URL's last path component, decoded; "/" in it would climb out of the
// home folder, so it cannot stay.
std::string lastPathComponent(const std::string& url) {
    const size_t scheme = url.find("://");
    const size_t pathStart = url.find('/', scheme == std::string::npos ? 0 : scheme + 3);
    if (pathStart == std::string::npos) return "download.pdf";
    std::string path = url.substr(pathStart);
    path = path.substr(0, path.find_first_of("?#"));
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    std::string name = percentDecoded(path.substr(path.rfind('/') + 1));
    for (char& c : name) {
        if (c == '/' || c == '\0') c = '_';
    }
    if (name.empty() || name == "." || name == "..") return "download.pdf";
    return name;
}

// Moves a file, copying when the two folders lie on different file systems.
void moveFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::error_code error;
    std::filesystem::rename(from, to, error);
    if (!error) return;
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::remove(from, error);
}

}  // namespace

BrowserTabOpener::BrowserTabOpener(HttpClient& http, MainQueue& mainQueue,
                                   std::filesystem::path home, Callbacks callbacks)
    : http_(http),
      mainQueue_(mainQueue),
      home_(std::move(home)),
      callbacks_(std::move(callbacks)) {}

BrowserTabOpener::~BrowserTabOpener() = default;

SupportedBrowser BrowserTabOpener::browserOf(const std::optional<FrontmostWindow>& window) const {
    if (!window) throw BrowserTabError::unsupportedBrowser();
    auto browser = SupportedBrowser::fromWindow(*window, home_);
    if (!browser) throw BrowserTabError::unsupportedBrowser();
    return *browser;
}

std::string BrowserTabOpener::currentURL(const SupportedBrowser& browser,
                                         const std::string& windowTitle,
                                         const std::optional<std::filesystem::path>& profile,
                                         std::stop_token stop) const {
    std::optional<std::string> url;
    try {
        if (browser.family == SupportedBrowser::Family::firefox) {
            std::vector<std::filesystem::path> profiles;
            if (profile) profiles.push_back(*profile);
            for (const auto& root : browser.profileRoots) {
                if (profile) break;
                for (auto& found : FirefoxSession::profiles(root)) profiles.push_back(found);
            }
            for (const auto& folder : profiles) {
                url = FirefoxSession::currentTabOfProfile(folder, windowTitle);
                if (url) break;
            }
        } else {
            std::vector<std::filesystem::path> folders =
                profile ? std::vector<std::filesystem::path>{*profile} : browser.profileRoots;
            for (const auto& folder : folders) {
                const auto port = DevToolsTabs::activePort(folder);
                if (!port) continue;
                url = DevToolsTabs::frontmostTab(http_, *port, stop);
                if (url) break;
            }
        }
    } catch (const std::exception& error) {
        log(std::string("BrowserTabOpener: ") + error.what());
        throw BrowserTabError::noURL();
    }
    if (!url || !looksLikeURL(*url)) throw BrowserTabError::noURL();
    return *url;
}

void BrowserTabOpener::expectPdf(const std::string& url, std::stop_token stop) const {
    HttpRequest request;
    request.method = "HEAD";
    request.url = url;
    request.timeoutSeconds = probeTimeoutSeconds;
    HttpResponseHead head;
    try {
        head = http_.perform(
            request, [](const HttpResponseHead&, std::string_view) { return true; }, stop);
    } catch (const std::exception& error) {
        log(std::string("BrowserTabOpener: the probe failed: ") + error.what());
        throw BrowserTabError::noURL();
    }
    const auto type = head.header("Content-Type");
    if (!type || type->find("application/pdf") == std::string::npos) {
        throw BrowserTabError::notPdf();
    }
}

std::filesystem::path BrowserTabOpener::targetPath(
    const std::string& url, std::chrono::system_clock::time_point now) const {
    const std::string name = lastPathComponent(url);
    std::filesystem::path target = home_ / name;
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(target, error))) return target;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d-%H-%M-%S", &local);
    return home_ / (name + "-" + stamp);
}

std::filesystem::path BrowserTabOpener::download(const std::string& url,
                                                 std::stop_token stop) const {
    std::string pattern = (std::filesystem::temp_directory_path() / "folvane-tab-XXXXXX").string();
    const int fd = mkstemp(pattern.data());
    if (fd < 0) throw BrowserTabError::downloadFailed();
    const std::filesystem::path temporary = pattern;
    bool writeFailed = false;
    bool closed = false;
    try {
        HttpRequest request;
        request.url = url;
        const auto head = http_.perform(
            request,
            [&](const HttpResponseHead&, std::string_view block) {
                while (!block.empty()) {
                    const ssize_t written = ::write(fd, block.data(), block.size());
                    if (written <= 0) {
                        writeFailed = true;
                        return false;
                    }
                    block.remove_prefix(size_t(written));
                }
                return true;
            },
            stop);
        closed = true;
        if (::close(fd) != 0) writeFailed = true;
        if (writeFailed || head.status < 200 || head.status >= 300) {
            throw std::runtime_error("status " + std::to_string(head.status));
        }
        const auto target = targetPath(url, std::chrono::system_clock::now());
        moveFile(temporary, target);
        return target;
    } catch (const std::exception& error) {
        if (!closed) ::close(fd);
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        log(std::string("BrowserTabOpener: the download failed: ") + error.what());
        throw BrowserTabError::downloadFailed();
    }
}

void BrowserTabOpener::fail(const BrowserTabError& error) {
    mainQueue_.post(
        [callbacks = callbacks_, title = error.title(), text = std::string(error.what())] {
            if (callbacks.alert) callbacks.alert(title, text);
            if (callbacks.finished) callbacks.finished(std::nullopt);
        });
}

void BrowserTabOpener::start(const std::optional<FrontmostWindow>& window,
                             std::optional<std::filesystem::path> profile) {
    try {
        // The browser first: with no window, the title is not there to read.
        SupportedBrowser browser = browserOf(window);
        startTask(std::move(browser), window->title, std::move(profile));
    } catch (const BrowserTabError& error) {
        fail(error);
    }
}

void BrowserTabOpener::start(const SupportedBrowser& browser,
                             std::optional<std::filesystem::path> profile) {
    startTask(browser, "", std::move(profile));
}

void BrowserTabOpener::startTask(SupportedBrowser browser, std::string windowTitle,
                                 std::optional<std::filesystem::path> profile) {
    if (running_.exchange(true)) {
        log("BrowserTabOpener: a fetch is still running; the shortcut is ignored.");
        return;
    }
    if (task_.joinable()) task_.join();
    task_ = std::jthread([this, browser = std::move(browser), title = std::move(windowTitle),
                          profile = std::move(profile)](std::stop_token stop) {
        run(browser, title, profile, stop);
    });
}

void BrowserTabOpener::run(SupportedBrowser browser, std::string windowTitle,
                           std::optional<std::filesystem::path> profile, std::stop_token stop) {
    const Callbacks callbacks = callbacks_;
    try {
        const std::string url = currentURL(browser, windowTitle, profile, stop);
        expectPdf(url, stop);
        mainQueue_.post([callbacks] {
            if (callbacks.setOpening) callbacks.setOpening(true);
            if (callbacks.bringToFront) callbacks.bringToFront();
        });
        std::filesystem::path file;
        try {
            file = download(url, stop);
        } catch (const BrowserTabError&) {
            mainQueue_.post([callbacks] {
                if (callbacks.setOpening) callbacks.setOpening(false);
            });
            throw;
        }
        running_ = false;
        mainQueue_.post([callbacks, fileUrl = fileUrlFromPath(file.string())] {
            std::optional<int64_t> chat;
            std::optional<std::string> failure;
            try {
                if (callbacks.openFile) chat = callbacks.openFile(fileUrl);
            } catch (const std::exception& error) {
                failure = error.what();
            }
            if (callbacks.setOpening) callbacks.setOpening(false);
            if (chat && callbacks.openChat) callbacks.openChat(*chat);
            if (failure && callbacks.alert) callbacks.alert("Failed", *failure);
            if (callbacks.finished) callbacks.finished(chat);
        });
    } catch (const BrowserTabError& error) {
        running_ = false;
        fail(error);
    }
}

}  // namespace folvane
