#include "support/ReadOnlyPath.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace folvane::test {
namespace {

namespace fs = std::filesystem;

bool writable(const fs::path& path) {
    if (fs::is_directory(path)) {
        const fs::path probe = path / ".write-probe";
        const int fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) return false;
        ::close(fd);
        ::unlink(probe.c_str());
        return true;
    }
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    ::close(fd);
    return true;
}

bool chattr(const char* flag, const fs::path& path) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, 1);
        ::dup2(null, 2);
        ::execlp("chattr", "chattr", flag, path.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

}  // namespace

ReadOnlyPath::ReadOnlyPath(fs::path path)
    : path_(std::move(path)), before_(fs::status(path_).permissions()) {
    fs::permissions(path_,
                    fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
    if (writable(path_)) immutable_ = chattr("+i", path_);
    active_ = !writable(path_);
}

ReadOnlyPath::~ReadOnlyPath() {
    if (immutable_) chattr("-i", path_);
    std::error_code ignored;
    fs::permissions(path_, before_, fs::perm_options::replace, ignored);
}

}  // namespace folvane::test
