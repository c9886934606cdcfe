#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// The error body of the Gemini API: {"error": {"code", "message", "status",
// "details"}}. what() is the server's message.
class RPCError : public std::runtime_error {
  public:
    static constexpr std::string_view errorInfoType = "type.googleapis.com/google.rpc.ErrorInfo";

    // One ErrorInfo entry of `details`; entries of other types are not read.
    struct ErrorDetails {
        std::string type;
        std::string reason;
        std::string domain;
    };

    RPCError(int httpResponseCode, std::string message, std::string status,
             std::vector<ErrorDetails> details);

    // Throws DecodingError for a body that is not an RPC error.
    static RPCError decode(std::string_view text, int httpResponseCode);

    int httpResponseCode() const { return httpResponseCode_; }
    const std::string& message() const { return message_; }
    // The gRPC status name ("INVALID_ARGUMENT"...), "UNKNOWN" for one not named there.
    const std::string& status() const { return status_; }
    const std::vector<ErrorDetails>& details() const { return details_; }

    bool isInvalidAPIKey() const;
    bool isUnsupportedUserLocation() const;

  private:
    int httpResponseCode_;
    std::string message_;
    std::string status_;
    std::vector<ErrorDetails> details_;
};

}  // namespace folvane
