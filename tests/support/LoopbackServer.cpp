#include "support/LoopbackServer.h"

#include <strings.h>

#include <memory>
#include <stdexcept>

namespace folvane::test {

std::optional<std::string> RecordedRequest::header(const std::string& name) const {
    for (const auto& [key, value] : headers) {
        if (strcasecmp(key.c_str(), name.c_str()) == 0) return value;
    }
    return std::nullopt;
}

LoopbackServer::LoopbackServer() {
    server_.set_keep_alive_timeout(1);
    // Small pieces go out at once, not held back for the previous one's ACK.
    server_.set_tcp_nodelay(true);
    auto withBody = [this](const httplib::Request& request, httplib::Response& response,
                           const httplib::ContentReader& reader) {
        std::string body;
        std::vector<RecordedPart> parts;
        if (request.is_multipart_form_data()) {
            reader(
                [&](const httplib::MultipartFormData& part) {
                    parts.push_back({part.name, part.filename, part.content_type, ""});
                    return true;
                },
                [&](const char* data, size_t length) {
                    parts.back().content.append(data, length);
                    return true;
                });
        } else {
            reader([&](const char* data, size_t length) {
                body.append(data, length);
                return true;
            });
        }
        serve(request, response, std::move(body), std::move(parts));
    };
    auto withoutBody = [this](const httplib::Request& request, httplib::Response& response) {
        serve(request, response, request.body, {});
    };
    server_.Post(".*", withBody);
    server_.Put(".*", withBody);
    server_.Get(".*", withoutBody);
    server_.Delete(".*", withoutBody);
    port_ = server_.bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("The loopback server could not bind a port.");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

LoopbackServer::~LoopbackServer() {
    release();
    server_.stop();
    thread_.join();
}

void LoopbackServer::setHandler(Handler handler) {
    std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
}

std::string LoopbackServer::baseURL() const {
    return "http://127.0.0.1:" + std::to_string(port_);
}

std::vector<RecordedRequest> LoopbackServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

RecordedRequest LoopbackServer::lastRequest() const {
    std::lock_guard lock(mutex_);
    if (requests_.empty()) throw std::runtime_error("The loopback server got no request.");
    return requests_.back();
}

bool LoopbackServer::waitForRelease(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    return released_.wait_for(lock, timeout, [&] { return isReleased_; });
}

void LoopbackServer::release() {
    std::lock_guard lock(mutex_);
    isReleased_ = true;
    released_.notify_all();
}

void LoopbackServer::serve(const httplib::Request& request, httplib::Response& response,
                           std::string body, std::vector<RecordedPart> parts) {
    RecordedRequest recorded;
    recorded.method = request.method;
    recorded.target = request.target;
    recorded.body = std::move(body);
    recorded.parts = std::move(parts);
    recorded.remotePort = request.remote_port;
    for (const auto& [key, value] : request.headers) {
        // The server adds these itself; they are not from the wire.
        if (key == "REMOTE_ADDR" || key == "REMOTE_PORT" || key == "LOCAL_ADDR" ||
            key == "LOCAL_PORT") {
            continue;
        }
        recorded.headers.emplace_back(key, value);
    }
    Handler handler;
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(recorded);
        handler = handler_;
    }
    if (handler) {
        handler(recorded, response);
    } else {
        response.status = 404;
    }
}

LoopbackServer::Handler chunkedResponse(std::vector<std::string> pieces, int status,
                                        std::vector<std::pair<std::string, std::string>> headers,
                                        std::chrono::milliseconds pause, bool dropAtEnd) {
    return [=](const RecordedRequest&, httplib::Response& response) {
        response.status = status;
        for (const auto& [name, value] : headers) response.set_header(name, value);
        auto next = std::make_shared<size_t>(0);
        response.set_chunked_content_provider("text/event-stream",
                                              [=](size_t, httplib::DataSink& sink) {
                                                  if (*next == pieces.size()) {
                                                      if (dropAtEnd) return false;
                                                      sink.done();
                                                      return true;
                                                  }
                                                  const std::string& piece = pieces[(*next)++];
                                                  if (!sink.write(piece.data(), piece.size()))
                                                      return false;
                                                  if (pause.count() > 0)
                                                      std::this_thread::sleep_for(pause);
                                                  return true;
                                              });
    };
}

LoopbackServer::Handler plainResponse(std::string body, int status, std::string contentType,
                                      std::vector<std::pair<std::string, std::string>> headers) {
    return [=](const RecordedRequest&, httplib::Response& response) {
        response.status = status;
        for (const auto& [name, value] : headers) response.set_header(name, value);
        response.set_content(body, contentType.c_str());
    };
}

}  // namespace folvane::test
