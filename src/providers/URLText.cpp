#include "providers/URLText.h"

#include <cctype>
#include <string>

namespace folvane {

namespace {

bool isHex(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool isURLCharacter(char c) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) return true;
    static const std::string marks = "-._~:/?#[]@!$&'()*+,;=%";
    return marks.find(c) != std::string::npos;
}

}  // namespace

bool isValidURL(std::string_view text) {
    if (text.empty()) return false;
    size_t hashes = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (static_cast<unsigned char>(c) >= 0x80 || !isURLCharacter(c)) return false;
        if (c == '%' && (i + 2 >= text.size() || !isHex(text[i + 1]) || !isHex(text[i + 2]))) {
            return false;
        }
        if (c == '#') ++hashes;
    }
    if (hashes > 1) return false;
    // Brackets belong to an IPv6 literal in the authority, nowhere else.
    size_t open = text.find('[');
    size_t close = text.find(']');
    if (open == std::string_view::npos && close == std::string_view::npos) return true;
    if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
        return false;
    }
    size_t authority = text.find("://");
    if (authority == std::string_view::npos || open != authority + 3) return false;
    if (text.find('[', open + 1) != std::string_view::npos ||
        text.find(']', close + 1) != std::string_view::npos) {
        return false;
    }
    return true;
}

}  // namespace folvane
