#include "providers/DecodingError.h"

#include <cmath>

namespace folvane {

namespace {

std::string userText(DecodingError::Kind kind) {
    switch (kind) {
        case DecodingError::Kind::keyNotFound:
            return "The data couldn't be read because it is missing.";
        case DecodingError::Kind::dataCorrupted:
        case DecodingError::Kind::typeMismatch:
            break;
    }
    return "The data couldn't be read because it isn't in the correct format.";
}

}  // namespace

DecodingError::DecodingError(Kind kind, std::string detail)
    : std::runtime_error(userText(kind)), kind_(kind), detail_(std::move(detail)) {}

namespace json_read {

namespace {

[[noreturn]] void mismatch(const char* key, const char* expected) {
    throw DecodingError(DecodingError::Kind::typeMismatch,
                        std::string("Expected ") + expected + " for key '" + key + "'");
}

}  // namespace

const json& object(const json& value, const char* context) {
    if (!value.is_object()) mismatch(context, "an object");
    return value;
}

const json& required(const json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end()) {
        throw DecodingError(DecodingError::Kind::keyNotFound,
                            std::string("No value associated with key '") + key + "'");
    }
    if (found->is_null()) {
        throw DecodingError(DecodingError::Kind::keyNotFound,
                            std::string("Found null for key '") + key + "'");
    }
    return *found;
}

const json* optional(const json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end() || found->is_null()) return nullptr;
    return &*found;
}

std::string string(const json& value, const char* key) {
    if (!value.is_string()) mismatch(key, "a string");
    return value.get<std::string>();
}

double number(const json& value, const char* key) {
    if (!value.is_number()) mismatch(key, "a number");
    return value.get<double>();
}

int64_t integer(const json& value, const char* key) {
    if (value.is_number_integer()) return value.get<int64_t>();
    if (value.is_number_float()) {
        double number = value.get<double>();
        // Inside the range where the conversion is defined, and whole.
        if (number >= -9.2e18 && number <= 9.2e18 && std::trunc(number) == number) {
            return static_cast<int64_t>(number);
        }
    }
    mismatch(key, "an integer");
}

bool boolean(const json& value, const char* key) {
    if (!value.is_boolean()) mismatch(key, "a boolean");
    return value.get<bool>();
}

const json& array(const json& value, const char* key) {
    if (!value.is_array()) mismatch(key, "an array");
    return value;
}

std::optional<std::string> optionalString(const json& object, const char* key) {
    const json* value = optional(object, key);
    if (value == nullptr) return std::nullopt;
    return string(*value, key);
}

std::optional<double> optionalNumber(const json& object, const char* key) {
    const json* value = optional(object, key);
    if (value == nullptr) return std::nullopt;
    return number(*value, key);
}

std::optional<int64_t> optionalInteger(const json& object, const char* key) {
    const json* value = optional(object, key);
    if (value == nullptr) return std::nullopt;
    return integer(*value, key);
}

json parse(std::string_view text) {
    json value = json::parse(text, nullptr, false);
    if (value.is_discarded()) {
        throw DecodingError(DecodingError::Kind::dataCorrupted,
                            "The given data was not valid JSON.");
    }
    return value;
}

}  // namespace json_read

}  // namespace folvane
