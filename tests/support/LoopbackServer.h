#pragma once

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace folvane::test {

// One part of a multipart body, as the server parsed it.
struct RecordedPart {
    std::string name;
    std::string filename;
    std::string contentType;
    std::string content;

    bool operator==(const RecordedPart&) const = default;
};

// A request as the server read it: the body bytes untouched, or for a
// multipart body (which the server library only hands out parsed) its parts.
struct RecordedRequest {
    std::string method;
    std::string target;  // path and query string
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::vector<RecordedPart> parts;
    int remotePort = -1;

    // The value of a header, compared without case.
    std::optional<std::string> header(const std::string& name) const;
};

// A real HTTP server on 127.0.0.1 and a free port, for the wire clients. It
// records each request and answers it with the handler of the test.
class LoopbackServer {
  public:
    using Handler =
        std::function<void(const RecordedRequest& request, httplib::Response& response)>;

    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // Answers every later request; the default answers 404.
    void setHandler(Handler handler);

    // "http://127.0.0.1:PORT", with no trailing slash.
    std::string baseURL() const;
    std::vector<RecordedRequest> requests() const;
    RecordedRequest lastRequest() const;

    // For handlers that must hold a response open: waits until release() or
    // the timeout, whichever comes first; true when released.
    bool waitForRelease(std::chrono::milliseconds timeout);
    void release();

  private:
    void serve(const httplib::Request& request, httplib::Response& response, std::string body,
               std::vector<RecordedPart> parts);

    httplib::Server server_;
    int port_ = 0;
    std::thread thread_;
    mutable std::mutex mutex_;
    std::condition_variable released_;
    bool isReleased_ = false;
    Handler handler_;
    std::vector<RecordedRequest> requests_;
};

// A handler that answers with the body in the given pieces, each sent as its
// own chunk with a pause after it, so that the client reads them as separate
// blocks. With dropAtEnd the connection is cut after the last piece instead
// of ending the body.
LoopbackServer::Handler chunkedResponse(
    std::vector<std::string> pieces, int status = 200,
    std::vector<std::pair<std::string, std::string>> headers = {},
    std::chrono::milliseconds pause = std::chrono::milliseconds(0), bool dropAtEnd = false);

// A handler that answers with a whole body at once.
LoopbackServer::Handler plainResponse(
    std::string body, int status = 200, std::string contentType = "application/json",
    std::vector<std::pair<std::string, std::string>> headers = {});

}  // namespace folvane::test
