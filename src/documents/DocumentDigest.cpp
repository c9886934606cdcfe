#include "documents/DocumentDigest.h"

#include <openssl/evp.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/FileBookmark.h"

namespace folvane {

std::string documentDigest(const std::string& path) {
    constexpr size_t digestLength = 65536;
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) {
        throw FileError("The file “" + path + "” couldn’t be opened: " + std::strerror(errno));
    }
    std::vector<unsigned char> bytes(digestLength);
    const size_t count = std::fread(bytes.data(), 1, bytes.size(), file.get());
    if (std::ferror(file.get())) {
        throw FileError("The file “" + path + "” couldn’t be read: " + std::strerror(errno));
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int digestSize = 0;
    if (EVP_Digest(bytes.data(), count, digest.data(), &digestSize, EVP_md5(), nullptr) != 1) {
        throw FileError("MD5 is not available");
    }
    static constexpr char hex[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < digestSize; ++i) {
        text += hex[digest[i] >> 4];
        text += hex[digest[i] & 15];
    }
    return text;
}

}  // namespace folvane
