#include "store/JsonText.h"

namespace folvane {

std::string compactJson(const nlohmann::ordered_json& value) {
    const std::string plain = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    // Outside strings JSON has no "/", so every one of them is inside a string
    // and may be escaped without looking at the context.
    std::string escaped;
    escaped.reserve(plain.size());
    for (char c : plain) {
        if (c == '/') escaped += '\\';
        escaped += c;
    }
    return escaped;
}

}  // namespace folvane
