#include "providers/RPCError.h"

#include <algorithm>
#include <array>

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

namespace {

constexpr std::array<std::string_view, 17> statusNames{
    "OK",
    "CANCELLED",
    "UNKNOWN",
    "INVALID_ARGUMENT",
    "DEADLINE_EXCEEDED",
    "NOT_FOUND",
    "ALREADY_EXISTS",
    "PERMISSION_DENIED",
    "RESOURCE_EXHAUSTED",
    "FAILED_PRECONDITION",
    "ABORTED",
    "OUT_OF_RANGE",
    "UNIMPLEMENTED",
    "INTERNAL",
    "UNAVAILABLE",
    "DATA_LOSS",
    "UNAUTHENTICATED",
};

std::string knownStatus(const std::string& raw) {
    const bool known = std::find(statusNames.begin(), statusNames.end(), raw) != statusNames.end();
    return known ? raw : "UNKNOWN";
}

}  // namespace

RPCError::RPCError(int httpResponseCode, std::string message, std::string status,
                   std::vector<ErrorDetails> details)
    : std::runtime_error(message),
      httpResponseCode_(httpResponseCode),
      message_(std::move(message)),
      status_(std::move(status)),
      details_(std::move(details)) {}

RPCError RPCError::decode(std::string_view text, int httpResponseCode) {
    const nlohmann::json value = rd::parse(text);
    rd::object(value, "RPCError");
    const auto& error = rd::object(rd::required(value, "error"), "error");
    // Part of the body's shape; the answer's own HTTP status is the one kept.
    rd::integer(rd::required(error, "code"), "code");
    std::string message = rd::string(rd::required(error, "message"), "message");
    std::string status = knownStatus(rd::string(rd::required(error, "status"), "status"));
    std::vector<ErrorDetails> details;
    if (const auto* entries = rd::optional(error, "details")) {
        for (const auto& entry : rd::array(*entries, "details")) {
            rd::object(entry, "details");
            const auto type = rd::optionalString(entry, "@type");
            if (type != errorInfoType) continue;
            details.push_back({*type, rd::optionalString(entry, "reason").value_or(""),
                               rd::optionalString(entry, "domain").value_or("")});
        }
    }
    return RPCError(httpResponseCode, std::move(message), std::move(status), std::move(details));
}

bool RPCError::isInvalidAPIKey() const {
    return std::any_of(details_.begin(), details_.end(), [](const ErrorDetails& detail) {
        return detail.reason == "API_KEY_INVALID";
    });
}

bool RPCError::isUnsupportedUserLocation() const {
    return message_ == "User location is not supported for the API use.";
}

}  // namespace folvane
