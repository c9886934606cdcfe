#include "support/MozLz4.h"

#include <lz4.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "support/TempDir.h"

namespace folvane::test {

std::string encodeMozLz4(const std::string& text) {
    std::string block(size_t(LZ4_compressBound(int(text.size()))), '\0');
    const int size =
        LZ4_compress_default(text.data(), block.data(), int(text.size()), int(block.size()));
    if (size <= 0) throw std::runtime_error("LZ4 compression failed");
    block.resize(size_t(size));
    std::string bytes("mozLz40\0", 8);
    const auto length = uint32_t(text.size());
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(char((length >> shift) & 0xff));
    return bytes + block;
}

void writeFirefoxSession(const std::filesystem::path& profile, const std::string& url,
                         const std::string& title) {
    const nlohmann::json session = {
        {"version", {"sessionrestore", 1}},
        {"selectedWindow", 1},
        {"windows",
         {{{"selected", 1},
           {"tabs", {{{"index", 1}, {"entries", {{{"url", url}, {"title", title}}}}}}}}}}};
    writeFile(profile / "sessionstore-backups" / "recovery.jsonlz4", encodeMozLz4(session.dump()));
}

}  // namespace folvane::test
