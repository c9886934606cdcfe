#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace folvane {

// An answer that arrived but cannot be used: a status outside 200 to 299
// where the client reads no error body, or a body that decodes and still
// says nothing (a chat answer without choices). what() is the user's words.
class ProviderResponseError : public std::runtime_error {
  public:
    explicit ProviderResponseError(const std::string& words,
                                   std::optional<int> status = std::nullopt)
        : std::runtime_error(words), status_(status) {}

    // "The server answered with the status 404."
    static ProviderResponseError forStatus(int status) {
        return ProviderResponseError(
            "The server answered with the status " + std::to_string(status) + ".", status);
    }

    std::optional<int> status() const { return status_; }

  private:
    std::optional<int> status_;
};

}  // namespace folvane
