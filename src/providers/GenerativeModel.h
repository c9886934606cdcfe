#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "providers/GenerateContentResponse.h"

namespace folvane {

class HttpClient;

// How a GenerativeModel sends its requests: the timeout (60 seconds when
// absent) and the API version in the path.
struct GenerativeRequestOptions {
    std::optional<double> timeout;
    std::string apiVersion = "v1";
};

// A Gemini model of the Google generative language API, as far as the key
// check of the Google AI form needs it: one text turn, never streamed. Runs
// on the caller's thread; every failure comes out as GenerateContentError.
class GenerativeModel {
  public:
    static constexpr const char* defaultEndpoint = "https://generativelanguage.googleapis.com";
    static constexpr const char* clientTag = "genai-folvane/0.4.8";
    static constexpr double defaultTimeout = 60.0;

    // A name with a "/" is the resource name as it is; any other gets
    // "models/" in front.
    GenerativeModel(std::shared_ptr<HttpClient> http, const std::string& name, std::string apiKey,
                    GenerativeRequestOptions requestOptions = {},
                    std::string endpoint = defaultEndpoint);

    const std::string& modelResourceName() const { return modelResourceName_; }

    // One user turn of one text part.
    GenerateContentResponse generateContent(const std::string& text,
                                            std::stop_token stop = {}) const;

  private:
    GenerateContentResponse send(const std::string& text, std::stop_token stop) const;

    std::shared_ptr<HttpClient> http_;
    std::string modelResourceName_;
    std::string apiKey_;
    GenerativeRequestOptions requestOptions_;
    std::string endpoint_;
};

}  // namespace folvane
