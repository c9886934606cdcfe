#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace folvane {

// A body that does not read as the expected JSON value. what() is the text the
// user reads; detail() names the place and the reason, for logs and tests.
class DecodingError : public std::runtime_error {
  public:
    enum class Kind { dataCorrupted, keyNotFound, typeMismatch };

    DecodingError(Kind kind, std::string detail);

    Kind kind() const { return kind_; }
    const std::string& detail() const { return detail_; }

  private:
    Kind kind_;
    std::string detail_;
};

// Helpers for the decoders of the wire types. A key that is absent or null
// reads as nothing; a value of the wrong kind fails. `Int` fields accept only
// integral numbers, `Double` fields any number.
namespace json_read {

using nlohmann::json;

const json& object(const json& value, const char* context);
const json& required(const json& object, const char* key);
const json* optional(const json& object, const char* key);

std::string string(const json& value, const char* key);
double number(const json& value, const char* key);
int64_t integer(const json& value, const char* key);
bool boolean(const json& value, const char* key);
const json& array(const json& value, const char* key);

std::optional<std::string> optionalString(const json& object, const char* key);
std::optional<double> optionalNumber(const json& object, const char* key);
std::optional<int64_t> optionalInteger(const json& object, const char* key);

// Parses text as JSON, failing with DecodingError.
json parse(std::string_view text);

}  // namespace json_read

}  // namespace folvane
