#include "SimilaritySearchKit/ModelDownload.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <fstream>
#include <vector>

#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "platform/HttpClient.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

using Clock = std::chrono::steady_clock;
using Kind = ModelDownloadError::Kind;

constexpr const char* resumeNote =
    " What was fetched is kept, and the next download resumes from there.";

std::optional<std::uint64_t> parseNumber(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::string lowerHex(std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
    while (!text.empty() && text.front() == ' ') text.erase(text.begin());
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    return text;
}

// An open file descriptor, closed with the object.
class FileHandle {
  public:
    explicit FileHandle(int fd) : fd_(fd) {}
    ~FileHandle() {
        if (fd_ >= 0) ::close(fd_);
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    int get() const { return fd_; }
    // Closes now; false when the last writes could not be kept.
    bool close() {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0;
    }

  private:
    int fd_;
};

[[noreturn]] void failWrite(int error, const std::filesystem::path& part) {
    if (error == ENOSPC || error == EDQUOT || error == EFBIG)
        throw ModelDownloadError(Kind::noSpace,
                                 "There is not enough space on the device to save the model in " +
                                     part.parent_path().string() +
                                     ". Free some space and download it again: what was fetched "
                                     "is kept, and the download resumes from there.");
    throw ModelDownloadError(Kind::file, "Could not write the model to " + part.string() + ": " +
                                             std::strerror(error) + ".");
}

// One transfer's state: what the answer's head said and how far the file is.
struct Transfer {
    int fd = -1;
    std::filesystem::path part;
    std::uint64_t offset = 0;  // the bytes the file held when the answer began
    std::uint64_t done = 0;    // the bytes the file holds now
    std::optional<std::uint64_t> total;
    bool begun = false;
    int status = 0;
    Clock::time_point started;

    // Reads the head of the answer; false when it carries no part of the file.
    bool begin(const HttpResponseHead& head) {
        begun = true;
        status = head.status;
        if (head.status == 206) {
            // "bytes START-END/TOTAL": the part must start where the file ends.
            const std::string range = head.header("Content-Range").value_or("");
            const auto dash = range.find('-');
            const auto slash = range.find('/');
            const auto start = range.starts_with("bytes ") && dash != std::string::npos
                                   ? parseNumber(std::string_view(range).substr(6, dash - 6))
                                   : std::nullopt;
            if (start != offset)
                throw ModelDownloadError(Kind::http,
                                         "The server sent a part of the model other than the one "
                                         "asked for (Content-Range \"" +
                                             range + "\").");
            if (slash != std::string::npos)
                total = parseNumber(std::string_view(range).substr(slash + 1));
        } else if (head.status == 200) {
            // The whole file again: what the partial file held goes.
            if (offset > 0 && ::ftruncate(fd, 0) != 0) failWrite(errno, part);
            offset = done = 0;
            if (const auto length = head.header("Content-Length")) total = parseNumber(*length);
        } else {
            return false;
        }
        started = Clock::now();
        return true;
    }

    ModelDownloadProgress progress() const {
        ModelDownloadProgress result;
        result.bytesDone = done;
        result.totalBytes = total;
        const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
        if (seconds > 0) result.bytesPerSecond = static_cast<double>(done - offset) / seconds;
        if (total && result.bytesPerSecond > 0)
            result.secondsLeft =
                static_cast<double>(*total > done ? *total - done : 0) / result.bytesPerSecond;
        return result;
    }
};

}  // namespace

ModelDownload::ModelDownload(std::shared_ptr<HttpClient> http) : http_(std::move(http)) {}

std::string ModelDownload::sha256OfFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw ModelDownloadError(Kind::file, "Could not read " + path.string() + ".");
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                    &EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        throw ModelDownloadError(Kind::file, "Could not compute a SHA-256 digest.");
    std::vector<char> buffer(1 << 20);
    while (file) {
        file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        if (file.gcount() > 0)
            EVP_DigestUpdate(context.get(), buffer.data(), static_cast<size_t>(file.gcount()));
    }
    if (file.bad()) throw ModelDownloadError(Kind::file, "Could not read " + path.string() + ".");
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_DigestFinal_ex(context.get(), digest, &length);
    static constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned int i = 0; i < length; ++i) {
        hex += digits[digest[i] >> 4];
        hex += digits[digest[i] & 15];
    }
    return hex;
}

ModelDownloadResult ModelDownload::run(const Request& request, const ProgressHandler& onProgress,
                                       std::stop_token stop) {
    std::error_code error;
    std::filesystem::create_directories(request.directory, error);
    if (error)
        throw ModelDownloadError(Kind::file, "Could not create the folder " +
                                                 request.directory.string() + ": " +
                                                 error.message() + ".");
    const std::filesystem::path target = request.directory / request.fileName;
    const std::filesystem::path part = request.directory / (request.fileName + ".part");

    FileHandle file(::open(part.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    if (file.get() < 0) failWrite(errno, part);

    // A server that refuses the range of a partial file that is already whole
    // (416) is asked once more for the whole file.
    for (int attempt = 0;; ++attempt) {
        struct stat status {};
        if (::fstat(file.get(), &status) != 0) failWrite(errno, part);
        Transfer transfer;
        transfer.fd = file.get();
        transfer.part = part;
        transfer.offset = transfer.done =
            S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;

        HttpRequest http;
        http.url = request.url;
        if (transfer.offset > 0)
            http.headers.push_back({"Range", "bytes=" + std::to_string(transfer.offset) + "-"});

        auto onBlock = [&](const HttpResponseHead& head, std::string_view block) {
            if (!transfer.begun && !transfer.begin(head)) return false;
            while (!block.empty()) {
                const ssize_t written = ::write(file.get(), block.data(), block.size());
                if (written < 0 && errno == EINTR) continue;
                if (written <= 0) failWrite(written < 0 ? errno : ENOSPC, part);
                block.remove_prefix(static_cast<size_t>(written));
                transfer.done += static_cast<std::uint64_t>(written);
            }
            if (onProgress) onProgress(transfer.progress());
            return true;
        };

        if (stop.stop_requested())
            throw ModelDownloadError(Kind::cancelled,
                                     std::string("The download was cancelled.") + resumeNote);
        HttpResponseHead head;
        try {
            head = http_->perform(http, onBlock, stop);
        } catch (const HttpTransportError& failure) {
            if (failure.kind() == HttpTransportError::Kind::cancelled)
                throw ModelDownloadError(Kind::cancelled,
                                         std::string("The download was cancelled.") + resumeNote);
            throw ModelDownloadError(Kind::interrupted, std::string("The download stopped: ") +
                                                            failure.what() + resumeNote);
        }
        if (!transfer.begun) transfer.begin(head);

        if (transfer.status == 416 && transfer.offset > 0 && attempt == 0) {
            if (::ftruncate(file.get(), 0) != 0) failWrite(errno, part);
            continue;
        }
        if (transfer.status != 200 && transfer.status != 206) {
            // A partial file that never got a byte is no start to resume from.
            if (transfer.done == 0 && S_ISREG(status.st_mode)) std::filesystem::remove(part, error);
            throw ModelDownloadError(Kind::http, "The server answered the download of " +
                                                     request.url + " with HTTP status " +
                                                     std::to_string(transfer.status) + ".");
        }
        if (transfer.total && transfer.done != *transfer.total)
            throw ModelDownloadError(Kind::interrupted, "The download stopped after " +
                                                            std::to_string(transfer.done) + " of " +
                                                            std::to_string(*transfer.total) +
                                                            " bytes." + resumeNote);
        break;
    }
    if (::fsync(file.get()) != 0 && errno != EINVAL) failWrite(errno, part);
    if (!file.close()) failWrite(errno, part);

    ModelDownloadResult result{target, sha256OfFile(part)};
    const std::string expected = lowerHex(request.expectedSHA256);
    if (!expected.empty() && expected != result.sha256) {
        std::filesystem::remove(part, error);
        throw ModelDownloadError(Kind::digestMismatch,
                                 "The downloaded file does not match its expected SHA-256 digest "
                                 "(expected " +
                                     expected + ", got " + result.sha256 +
                                     "). It was deleted; check the address and the digest in the "
                                     "settings embeddingModelURL and embeddingModelSHA256.");
    }
    std::filesystem::rename(part, target, error);
    if (error)
        throw ModelDownloadError(Kind::file, "Could not move the model to " + target.string() +
                                                 ": " + error.message() + ".");
    return result;
}

ModelDownloadResult downloadEmbeddingModel(AppPreferences& preferences,
                                           std::shared_ptr<HttpClient> http,
                                           const std::filesystem::path& modelsDirectory,
                                           const ModelDownload::ProgressHandler& onProgress,
                                           std::stop_token stop) {
    const ModelDownload::Request request{preferences.embeddingModelURL(), modelsDirectory,
                                         DistilbertEmbeddings::weightsFileName,
                                         preferences.embeddingModelSHA256()};
    ModelDownloadResult result = ModelDownload(std::move(http)).run(request, onProgress, stop);
    if (lowerHex(request.expectedSHA256).empty())
        preferences.setEmbeddingModelSHA256(result.sha256);
    return result;
}

}  // namespace folvane
