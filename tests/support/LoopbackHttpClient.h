#pragma once

#include <memory>

#include "platform/CurlHttpClient.h"

namespace folvane::test {

// A real CurlHttpClient that sends an "https://" request as plain "http://".
// The built-in route always speaks https to its host; with the setting
// customHost at the loopback server's "127.0.0.1:PORT" this lets the whole
// route, client and all, run against that server.
class LoopbackHttpClient : public HttpClient {
  public:
    HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                             std::stop_token stop = {}) override;
    std::filesystem::path download(const HttpRequest& request, std::stop_token stop = {}) override;

  private:
    static HttpRequest plain(HttpRequest request);

    CurlHttpClient inner_;
};

}  // namespace folvane::test
