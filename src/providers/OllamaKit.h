#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

class HttpClient;

// A model that an Ollama server holds.
struct OKModel {
    std::string name;
    std::string digest;
    int64_t size = 0;
    std::chrono::system_clock::time_point modifiedAt;
};

struct OKModelResponse {
    std::vector<OKModel> models;

    // Throws DecodingError; a date that reads neither with nor without
    // fractional seconds fails as corrupted data ("Cannot decode date string ...").
    static OKModelResponse decode(std::string_view text);
};

// An ISO 8601 internet date-time, with fractional seconds or without, "Z" or
// an offset; nothing for any other text.
std::optional<std::chrono::system_clock::time_point> parseInternetDate(std::string_view text);

// The model list of an Ollama server, which its form uses to learn whether
// the server answers and what it offers. Runs on the caller's thread.
class OllamaKit {
  public:
    static constexpr const char* defaultBaseURL = "http://localhost:11434";

    explicit OllamaKit(std::shared_ptr<HttpClient> http, std::string baseURL = defaultBaseURL);

    // GET /api/tags. Throws HttpTransportError, ProviderResponseError for a
    // status outside 200 to 299, DecodingError for a body that is not a list.
    OKModelResponse models(std::stop_token stop = {}) const;

  private:
    std::shared_ptr<HttpClient> http_;
    std::string baseURL_;
};

}  // namespace folvane
