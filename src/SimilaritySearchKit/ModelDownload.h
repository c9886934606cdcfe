#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace folvane {

class AppPreferences;
class HttpClient;

// A download that could not finish; what() is the user's words. A cancelled or
// interrupted download keeps its partial file, so the next one resumes.
class ModelDownloadError : public std::runtime_error {
  public:
    enum class Kind { cancelled, interrupted, noSpace, digestMismatch, http, file };

    ModelDownloadError(Kind kind, const std::string& message)
        : std::runtime_error(message), kind_(kind) {}
    Kind kind() const { return kind_; }

  private:
    Kind kind_;
};

// Where a download stands, reported as the bytes arrive.
struct ModelDownloadProgress {
    std::uint64_t bytesDone = 0;              // of the whole file, resumed part included
    std::optional<std::uint64_t> totalBytes;  // when the server tells the length
    double bytesPerSecond = 0;                // over this run's transfer
    std::optional<double> secondsLeft;        // when the total and a rate are known
};

struct ModelDownloadResult {
    std::filesystem::path path;  // the file in its place
    std::string sha256;          // lower-case hex
};

// Fetches one file into a folder: the bytes go to `<name>.part` beside it, a
// later run resumes from that file's size with a Range request (a server that
// ignores it and answers 200 starts again from zero), and the whole file is
// checked against the expected SHA-256 before it is renamed to `<name>`.
class ModelDownload {
  public:
    using ProgressHandler = std::function<void(const ModelDownloadProgress&)>;

    struct Request {
        std::string url;
        std::filesystem::path directory;
        std::string fileName;
        // Lower- or upper-case hex; "" accepts any file.
        std::string expectedSHA256;
    };

    explicit ModelDownload(std::shared_ptr<HttpClient> http);

    // Runs on the calling thread to the end. Throws ModelDownloadError; a
    // wrong digest removes the partial file.
    ModelDownloadResult run(const Request& request, const ProgressHandler& onProgress = {},
                            std::stop_token stop = {});

    // The file's SHA-256 in lower-case hex. Throws ModelDownloadError.
    static std::string sha256OfFile(const std::filesystem::path& path);

  private:
    std::shared_ptr<HttpClient> http_;
};

// The local embedding model's download as the settings describe it: from
// embeddingModelURL into `modelsDirectory` under the name the encoder reads,
// checked against embeddingModelSHA256; when that is empty, the digest of the
// finished file is stored there, and later downloads must match it.
ModelDownloadResult downloadEmbeddingModel(AppPreferences& preferences,
                                           std::shared_ptr<HttpClient> http,
                                           const std::filesystem::path& modelsDirectory,
                                           const ModelDownload::ProgressHandler& onProgress = {},
                                           std::stop_token stop = {});

}  // namespace folvane
