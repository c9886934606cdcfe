#include "store/IndexingClaim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "store/SqliteConnection.h"

namespace folvane {

std::optional<IndexingClaim> IndexingClaim::tryClaim(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        throw DatabaseError("Cannot make the indexing lock “" + path.string() +
                            "”: " + std::strerror(errno));
    }
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(descriptor);
        if (error == EWOULDBLOCK) return std::nullopt;
        throw DatabaseError("Cannot lock “" + path.string() + "”: " + std::strerror(error));
    }
    return IndexingClaim(descriptor);
}

IndexingClaim::~IndexingClaim() {
    if (descriptor_ >= 0) ::close(descriptor_);  // closing drops the lock
}

IndexingClaim::IndexingClaim(IndexingClaim&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

IndexingClaim& IndexingClaim::operator=(IndexingClaim&& other) noexcept {
    if (this != &other) {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

}  // namespace folvane
