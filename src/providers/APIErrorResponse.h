#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace folvane {

// The `error` object of an API error body.
struct APIError {
    std::string message;
    std::optional<std::string> type;
    std::optional<std::string> param;
    std::optional<std::string> code;

    bool operator==(const APIError&) const = default;
};

// An error body of the API, `{"error": {...}}`, thrown as the failure of an
// operation. what() is the error's message.
class APIErrorResponse : public std::runtime_error {
  public:
    explicit APIErrorResponse(APIError error);

    const APIError& error() const { return error_; }

    // Throws DecodingError. A `message` may be a string or an array of strings
    // (joined with line feeds); a number in `code` fails the whole envelope.
    static APIErrorResponse decode(std::string_view text);
    static APIErrorResponse fromJson(const nlohmann::json& value);
    // The decoded error, or nothing when the text is not an error body.
    static std::optional<APIErrorResponse> tryDecode(std::string_view text);

  private:
    APIError error_;
};

}  // namespace folvane
