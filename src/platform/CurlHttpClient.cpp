#include "platform/CurlHttpClient.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <exception>

namespace folvane {

struct CurlShareLocks {
    static void lock(CURL*, curl_lock_data data, curl_lock_access, void* client) {
        static_cast<CurlHttpClient*>(client)->shareLocks_.at(static_cast<size_t>(data)).lock();
    }
    static void unlock(CURL*, curl_lock_data data, void* client) {
        static_cast<CurlHttpClient*>(client)->shareLocks_.at(static_cast<size_t>(data)).unlock();
    }
};

namespace {

using Clock = std::chrono::steady_clock;

// The state of one running transfer, reached from curl's callbacks.
struct Transfer {
    CURL* handle = nullptr;
    const HttpBlockHandler* onBlock = nullptr;
    std::stop_token stop;
    HttpResponseHead head;
    Clock::time_point lastActivity = Clock::now();
    Clock::duration idleLimit{};
    bool timedOut = false;
    bool cancelled = false;
    bool stoppedByHandler = false;
    std::exception_ptr handlerError;
};

std::string trim(std::string_view text) {
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t' || text[end - 1] == '\r' ||
                           text[end - 1] == '\n')) {
        --end;
    }
    return std::string(text.substr(begin, end - begin));
}

size_t onHeaderLine(char* data, size_t size, size_t count, void* context) {
    auto& transfer = *static_cast<Transfer*>(context);
    std::string_view line(data, size * count);
    transfer.lastActivity = Clock::now();
    if (line.starts_with("HTTP/")) {
        // A new status line (after a 100 Continue or a redirect) starts a new head.
        transfer.head.headers.clear();
        long status = 0;
        curl_easy_getinfo(transfer.handle, CURLINFO_RESPONSE_CODE, &status);
        transfer.head.status = static_cast<int>(status);
        return line.size();
    }
    auto colon = line.find(':');
    if (colon != std::string_view::npos) {
        transfer.head.headers.push_back(
            {trim(line.substr(0, colon)), trim(line.substr(colon + 1))});
    }
    return line.size();
}

size_t onBody(char* data, size_t size, size_t count, void* context) {
    auto& transfer = *static_cast<Transfer*>(context);
    transfer.lastActivity = Clock::now();
    if (transfer.stop.stop_requested()) {
        transfer.cancelled = true;
        return 0;
    }
    long status = 0;
    curl_easy_getinfo(transfer.handle, CURLINFO_RESPONSE_CODE, &status);
    transfer.head.status = static_cast<int>(status);
    try {
        if (!(*transfer.onBlock)(transfer.head, std::string_view(data, size * count))) {
            transfer.stoppedByHandler = true;
            return 0;
        }
    } catch (...) {
        transfer.handlerError = std::current_exception();
        return 0;
    }
    return size * count;
}

int onProgress(void* context, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    auto& transfer = *static_cast<Transfer*>(context);
    if (transfer.stop.stop_requested()) {
        transfer.cancelled = true;
        return 1;
    }
    if (Clock::now() - transfer.lastActivity > transfer.idleLimit) {
        transfer.timedOut = true;
        return 1;
    }
    return 0;
}

HttpTransportError transportError(CURLcode code, const char* detail) {
    using Kind = HttpTransportError::Kind;
    switch (code) {
        case CURLE_OPERATION_TIMEDOUT:
            return {Kind::timedOut, "The request timed out."};
        case CURLE_COULDNT_RESOLVE_HOST:
            return {Kind::cannotConnect,
                    "A server with the specified hostname could not be found."};
        case CURLE_COULDNT_CONNECT:
            return {Kind::cannotConnect, "Could not connect to the server."};
        case CURLE_PARTIAL_FILE:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_HTTP2_STREAM:
            return {Kind::connectionLost, "The network connection was lost."};
        case CURLE_URL_MALFORMAT:
        case CURLE_UNSUPPORTED_PROTOCOL:
            return {Kind::badURL, "unsupported URL"};
        default:
            return {Kind::other, detail[0] != '\0' ? detail : curl_easy_strerror(code)};
    }
}

}  // namespace

CurlHttpClient::CurlHttpClient() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    share_ = curl_share_init();
    curl_share_setopt(share_, CURLSHOPT_LOCKFUNC, &CurlShareLocks::lock);
    curl_share_setopt(share_, CURLSHOPT_UNLOCKFUNC, &CurlShareLocks::unlock);
    curl_share_setopt(share_, CURLSHOPT_USERDATA, this);
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT);
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
}

CurlHttpClient::~CurlHttpClient() {
    for (void* handle : idleHandles_) curl_easy_cleanup(handle);
    curl_share_cleanup(share_);
    curl_global_cleanup();
}

void* CurlHttpClient::takeHandle() {
    {
        std::lock_guard lock(poolMutex_);
        if (!idleHandles_.empty()) {
            void* handle = idleHandles_.back();
            idleHandles_.pop_back();
            curl_easy_reset(handle);
            return handle;
        }
    }
    return curl_easy_init();
}

void CurlHttpClient::returnHandle(void* handle) {
    std::lock_guard lock(poolMutex_);
    idleHandles_.push_back(handle);
}

HttpResponseHead CurlHttpClient::perform(const HttpRequest& request,
                                         const HttpBlockHandler& onBlock, std::stop_token stop) {
    CURL* handle = takeHandle();
    if (handle == nullptr)
        throw HttpTransportError(HttpTransportError::Kind::other, "out of memory");

    Transfer transfer;
    transfer.handle = handle;
    transfer.onBlock = &onBlock;
    transfer.stop = stop;
    transfer.idleLimit = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(request.timeoutSeconds));

    curl_slist* headers = nullptr;
    for (const auto& header : request.headers) {
        std::string line =
            header.value.empty() ? header.name + ";" : header.name + ": " + header.value;
        headers = curl_slist_append(headers, line.c_str());
    }
    headers = curl_slist_append(headers, "Expect:");

    char detail[CURL_ERROR_SIZE] = {0};
    curl_easy_setopt(handle, CURLOPT_SHARE, share_);
    curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, detail);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(request.timeoutSeconds * 1000.0));
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &onHeaderLine);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &onBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFOFUNCTION, &onProgress);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, &transfer);
    if (request.method == "GET") {
        curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    } else if (request.method == "HEAD") {
        // An answer to HEAD names a length but sends no body.
        curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
    } else {
        if (request.method != "POST") {
            curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.method.c_str());
        }
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
    }

    CURLcode code = curl_easy_perform(handle);
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    transfer.head.status = static_cast<int>(status);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, nullptr);
    curl_slist_free_all(headers);
    returnHandle(handle);

    if (transfer.handlerError) std::rethrow_exception(transfer.handlerError);
    if (code == CURLE_OK) return transfer.head;
    if (transfer.cancelled) {
        throw HttpTransportError(HttpTransportError::Kind::cancelled, "cancelled");
    }
    if (transfer.timedOut) {
        throw HttpTransportError(HttpTransportError::Kind::timedOut, "The request timed out.");
    }
    if (transfer.stoppedByHandler) return transfer.head;
    throw transportError(code, detail);
}

std::filesystem::path CurlHttpClient::download(const HttpRequest& request, std::stop_token stop) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "folvane-download-XXXXXX").string();
    int fd = mkstemp(pattern.data());
    if (fd < 0) {
        throw HttpTransportError(HttpTransportError::Kind::other,
                                 "Could not create a temporary file.");
    }
    std::filesystem::path path = pattern;
    bool writeFailed = false;
    auto write = [&](const HttpResponseHead&, std::string_view block) {
        while (!block.empty()) {
            ssize_t written = ::write(fd, block.data(), block.size());
            if (written <= 0) {
                writeFailed = true;
                return false;
            }
            block.remove_prefix(static_cast<size_t>(written));
        }
        return true;
    };
    try {
        perform(request, write, stop);
    } catch (...) {
        ::close(fd);
        std::filesystem::remove(path);
        throw;
    }
    bool closeFailed = ::close(fd) != 0;
    if (writeFailed || closeFailed) {
        std::filesystem::remove(path);
        throw HttpTransportError(HttpTransportError::Kind::other,
                                 "Could not write the downloaded file.");
    }
    return path;
}

}  // namespace folvane
