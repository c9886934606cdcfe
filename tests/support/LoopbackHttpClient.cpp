#include "support/LoopbackHttpClient.h"

namespace folvane::test {

HttpRequest LoopbackHttpClient::plain(HttpRequest request) {
    constexpr std::string_view secure = "https://";
    if (request.url.starts_with(secure))
        request.url = "http://" + request.url.substr(secure.size());
    return request;
}

HttpResponseHead LoopbackHttpClient::perform(const HttpRequest& request,
                                             const HttpBlockHandler& onBlock,
                                             std::stop_token stop) {
    return inner_.perform(plain(request), onBlock, stop);
}

std::filesystem::path LoopbackHttpClient::download(const HttpRequest& request,
                                                   std::stop_token stop) {
    return inner_.download(plain(request), stop);
}

}  // namespace folvane::test
