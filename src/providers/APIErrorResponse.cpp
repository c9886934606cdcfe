#include "providers/APIErrorResponse.h"

#include <algorithm>

#include "providers/DecodingError.h"

namespace folvane {

namespace rd = json_read;

APIErrorResponse::APIErrorResponse(APIError error)
    : std::runtime_error(error.message), error_(std::move(error)) {}

APIErrorResponse APIErrorResponse::decode(std::string_view text) {
    return fromJson(rd::parse(text));
}

APIErrorResponse APIErrorResponse::fromJson(const nlohmann::json& value) {
    rd::object(value, "APIErrorResponse");
    const auto& body = rd::object(rd::required(value, "error"), "error");
    APIError error;
    const auto& message = rd::required(body, "message");
    if (message.is_string()) {
        error.message = message.get<std::string>();
    } else if (message.is_array() &&
               std::all_of(message.begin(), message.end(),
                           [](const nlohmann::json& line) { return line.is_string(); })) {
        for (size_t i = 0; i < message.size(); ++i) {
            if (i > 0) error.message += '\n';
            error.message += message[i].get<std::string>();
        }
    } else {
        throw DecodingError(DecodingError::Kind::typeMismatch,
                            "message: expected String or [String]");
    }
    error.type = rd::optionalString(body, "type");
    error.param = rd::optionalString(body, "param");
    error.code = rd::optionalString(body, "code");
    return APIErrorResponse(std::move(error));
}

std::optional<APIErrorResponse> APIErrorResponse::tryDecode(std::string_view text) {
    try {
        return decode(text);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

}  // namespace folvane
