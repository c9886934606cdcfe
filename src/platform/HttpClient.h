#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

struct HttpHeader {
    std::string name;
    std::string value;
};

struct HttpRequest {
    std::string method = "GET";
    std::string url;
    // Sent as given, in order; the caller keeps names unique.
    std::vector<HttpHeader> headers;
    // Sent when the method is not GET.
    std::string body;
    // The longest wait for the connection or for the next bytes of the answer.
    double timeoutSeconds = 60.0;
};

// The status line and headers of an answer, known before its first body byte.
struct HttpResponseHead {
    int status = 0;
    std::vector<HttpHeader> headers;

    // The value of the last header of that name, compared without case.
    std::optional<std::string> header(std::string_view name) const;
};

// A failure of the transfer itself: no answer, a dropped connection, a
// timeout, a cancellation. what() is the text the user reads.
class HttpTransportError : public std::runtime_error {
  public:
    enum class Kind { timedOut, cancelled, cannotConnect, connectionLost, badURL, other };

    HttpTransportError(Kind kind, const std::string& message)
        : std::runtime_error(message), kind_(kind) {}

    Kind kind() const { return kind_; }

  private:
    Kind kind_;
};

// Called with each block of the body as it arrives, in order, on the thread
// that runs the transfer. Returning false ends the transfer quietly.
using HttpBlockHandler = std::function<bool(const HttpResponseHead& head, std::string_view block)>;

// HTTP for the wire clients. One object is shared by every client of the
// process and reuses its connections; it may run several transfers at once,
// each on its caller's thread.
class HttpClient {
  public:
    virtual ~HttpClient() = default;

    // Runs the request to its end and returns the head of the answer. A stop
    // request ends the transfer at its next block or idle tick with the error
    // `cancelled`. Throws HttpTransportError, or what onBlock threw.
    virtual HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                                     std::stop_token stop = {}) = 0;

    // Runs the request and writes the body, whatever the status, to a fresh
    // file in the system's temporary folder, whose path it returns. The caller
    // owns the file.
    virtual std::filesystem::path download(const HttpRequest& request,
                                           std::stop_token stop = {}) = 0;
};

inline std::optional<std::string> HttpResponseHead::header(std::string_view name) const {
    auto lower = [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
    std::optional<std::string> found;
    for (const auto& entry : headers) {
        if (entry.name.size() != name.size()) continue;
        bool same = true;
        for (size_t i = 0; i < name.size() && same; ++i) {
            same = lower(entry.name[i]) == lower(name[i]);
        }
        if (same) found = entry.value;
    }
    return found;
}

}  // namespace folvane
