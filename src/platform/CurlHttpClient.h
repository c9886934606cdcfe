#pragma once

#include <array>
#include <mutex>
#include <vector>

#include "platform/HttpClient.h"

namespace folvane {

// HttpClient over libcurl. Blocks reach the handler as they come off the
// socket; the status and headers are read before the first block. Every
// transfer of one client draws on one connection cache and DNS cache (a curl
// share), and finished easy handles are kept for the next transfer, so
// connections to the same host are reused.
class CurlHttpClient : public HttpClient {
  public:
    CurlHttpClient();
    ~CurlHttpClient() override;
    CurlHttpClient(const CurlHttpClient&) = delete;
    CurlHttpClient& operator=(const CurlHttpClient&) = delete;

    HttpResponseHead perform(const HttpRequest& request, const HttpBlockHandler& onBlock,
                             std::stop_token stop = {}) override;
    std::filesystem::path download(const HttpRequest& request, std::stop_token stop = {}) override;

  private:
    // Easy handles and the share are kept as void* so that this header does
    // not pull in curl.
    void* takeHandle();
    void returnHandle(void* handle);

    void* share_ = nullptr;
    std::array<std::mutex, 16> shareLocks_;
    std::mutex poolMutex_;
    std::vector<void*> idleHandles_;

    friend struct CurlShareLocks;
};

}  // namespace folvane
