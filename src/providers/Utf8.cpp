#include "providers/Utf8.h"

namespace folvane {

namespace {

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

}  // namespace

std::optional<size_t> completeUtf8Prefix(std::string_view bytes) {
    size_t i = 0;
    while (i < bytes.size()) {
        auto lead = static_cast<unsigned char>(bytes[i]);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        size_t length = 0;
        // The range the second byte must fall in, which rules out overlong
        // forms, surrogates and values past U+10FFFF.
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        } else {
            return std::nullopt;
        }
        for (size_t k = 1; k < length; ++k) {
            if (i + k == bytes.size()) return i;  // a character cut by the end
            auto byte = static_cast<unsigned char>(bytes[i + k]);
            if (k == 1 ? (byte < low || byte > high) : !isContinuation(byte)) {
                return std::nullopt;
            }
        }
        i += length;
    }
    return i;
}

}  // namespace folvane
