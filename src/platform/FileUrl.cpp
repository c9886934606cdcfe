#include "platform/FileUrl.h"

#include <filesystem>

namespace folvane {

namespace {

bool allowedInPath(unsigned char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    static constexpr std::string_view extra = "-._~!$&'()*+,;=:@/";
    return extra.find(char(c)) != std::string_view::npos;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

std::string fileUrlFromPath(std::string_view path) {
    const std::string absolute =
        std::filesystem::absolute(std::filesystem::path(path)).lexically_normal().string();
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string url = "file://";
    for (unsigned char c : absolute) {
        if (allowedInPath(c)) {
            url += char(c);
        } else {
            url += '%';
            url += digits[c >> 4];
            url += digits[c & 15];
        }
    }
    return url;
}

std::optional<std::string> pathFromFileUrl(std::string_view url) {
    constexpr std::string_view scheme = "file://";
    if (url.substr(0, scheme.size()) != scheme) return std::nullopt;
    std::string_view rest = url.substr(scheme.size());
    // An authority of "localhost" is the same machine; any other host is not ours.
    if (rest.substr(0, 9) == "localhost") rest.remove_prefix(9);
    if (rest.empty() || rest.front() != '/') return std::nullopt;
    std::string path;
    for (size_t i = 0; i < rest.size(); ++i) {
        if (rest[i] == '%') {
            if (i + 2 >= rest.size()) return std::nullopt;
            const int high = hexValue(rest[i + 1]), low = hexValue(rest[i + 2]);
            if (high < 0 || low < 0) return std::nullopt;
            path += char(high * 16 + low);
            i += 2;
        } else if (rest[i] == '?' || rest[i] == '#') {
            break;
        } else {
            path += rest[i];
        }
    }
    return path;
}

std::string fileStem(std::string_view pathOrUrl) {
    std::string path = pathFromFileUrl(pathOrUrl).value_or(std::string(pathOrUrl));
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return std::filesystem::path(path).stem().string();
}

}  // namespace folvane
