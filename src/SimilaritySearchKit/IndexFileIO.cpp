#include "SimilaritySearchKit/IndexFileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace folvane::indexfile {

namespace {

[[noreturn]] void fail(const std::string& what, const std::filesystem::path& path, int error) {
    throw std::runtime_error(what + " " + path.string() + ": " + std::strerror(error));
}

}  // namespace

std::string read(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail("Cannot open", path, errno);
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (in.bad()) fail("Cannot read", path, errno);
    return buffer.str();
}

void writeAtomically(const std::filesystem::path& path, std::string_view bytes) {
    std::string temporary = path.string() + ".tmp-XXXXXX";
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0) fail("Cannot create", temporary, errno);
    const char* data = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(descriptor, data, left);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            const int error = errno;
            ::close(descriptor);
            ::unlink(temporary.c_str());
            fail("Cannot write", temporary, error);
        }
        data += written;
        left -= static_cast<std::size_t>(written);
    }
    if (::fchmod(descriptor, 0644) != 0 || ::close(descriptor) != 0 ||
        ::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        fail("Cannot write", path, error);
    }
}

std::vector<std::filesystem::path> listWithExtension(const std::filesystem::path& directory,
                                                     std::string_view extension) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == extension) paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace folvane::indexfile
