#include "platform/Uuid.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <random>

namespace folvane {

namespace {

// Sixteen bytes from getrandom(); std::random_device only should the call be
// unavailable.
std::array<uint8_t, 16> randomBytes() {
    std::array<uint8_t, 16> bytes{};
    size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = ::getrandom(bytes.data() + filled, bytes.size() - filled, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        filled += static_cast<size_t>(got);
    }
    if (filled < bytes.size()) {
        std::random_device device;
        for (size_t i = filled; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(device());
    }
    return bytes;
}

}  // namespace

std::string newUuid() {
    auto bytes = randomBytes();
    bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // the RFC 4122 variant
    static constexpr char hex[] = "0123456789abcdef";
    std::string text;
    text.reserve(36);
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += hex[bytes[i] >> 4];
        text += hex[bytes[i] & 0x0F];
    }
    return text;
}

}  // namespace folvane
