#include "store/JsonFileKeyValueStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>

#include "platform/Log.h"
#include "store/SettingsError.h"

namespace folvane {
namespace {

std::string utcTimestamp() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
    return text;
}

bool writeAll(int fd, const std::string& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        written += static_cast<std::size_t>(n);
    }
    return true;
}

void syncDirectory(const std::filesystem::path& directory) {
    const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

JsonFileKeyValueStore::JsonFileKeyValueStore(std::filesystem::path file) : file_(std::move(file)) {
    load();
}

void JsonFileKeyValueStore::load() {
    std::error_code error;
    if (!std::filesystem::exists(file_, error)) return;

    std::ifstream in(file_, std::ios::binary);
    if (!in) {
        moveAside(std::string("cannot be read: ") + std::strerror(errno));
        return;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();

    auto parsed = nlohmann::json::parse(bytes.str(), nullptr, /*allow_exceptions=*/false);
    if (parsed.is_discarded()) {
        moveAside("is not valid JSON");
    } else if (!parsed.is_object()) {
        moveAside("does not hold a JSON object");
    } else {
        values_ = std::move(parsed);
    }
}

void JsonFileKeyValueStore::moveAside(const std::string& reason) {
    const std::string base = file_.string() + ".corrupt-" + utcTimestamp();
    std::filesystem::path aside = base;
    std::error_code error;
    for (int n = 1; std::filesystem::exists(aside, error); ++n) {
        aside = base + "-" + std::to_string(n);
    }
    std::filesystem::rename(file_, aside, error);
    if (error) {
        // Leaving the file where it is would let the next save replace it.
        writable_ = false;
        log("Settings file " + file_.string() + " " + reason + " and could not be moved aside (" +
            error.message() + "); using defaults, and changes are not saved");
        return;
    }
    log("Settings file " + file_.string() + " " + reason + "; moved it to " + aside.string() +
        " and using defaults");
}

std::optional<nlohmann::json> JsonFileKeyValueStore::get(const std::string& key) const {
    std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return *found;
}

void JsonFileKeyValueStore::set(const std::string& key, nlohmann::json value) {
    std::lock_guard lock(mutex_);
    const auto before = values_;
    values_[key] = std::move(value);
    try {
        save(key);
    } catch (...) {
        values_ = before;
        throw;
    }
}

void JsonFileKeyValueStore::remove(const std::string& key) {
    std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    if (found == values_.end()) return;
    const auto before = values_;
    values_.erase(found);
    try {
        save(key);
    } catch (...) {
        values_ = before;
        throw;
    }
}

void JsonFileKeyValueStore::save(const std::string& key) {
    const auto notSaved = [&](const std::string& reason) {
        return SettingsError("The setting " + key + " was not saved: " + file_.string() + " " +
                             reason + ".");
    };
    if (!writable_) throw notSaved("is damaged and could not be moved aside");

    // A settings file that is a link (a dotfiles checkout) is replaced at its target.
    std::error_code error;
    std::filesystem::path target = file_;
    if (std::filesystem::is_symlink(file_, error)) {
        target = std::filesystem::weakly_canonical(file_, error);
        if (error) target = file_;
    }
    const auto directory =
        target.parent_path().empty() ? std::filesystem::path(".") : target.parent_path();
    std::filesystem::create_directories(directory, error);

    std::string temporary = (directory / (target.filename().string() + ".tmp-XXXXXX")).string();
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) throw notSaved(std::string("cannot be written (") + std::strerror(errno) + ")");
    const std::string bytes = values_.dump(4) + "\n";
    const bool written = writeAll(fd, bytes) && ::fsync(fd) == 0;
    const int savedErrno = errno;
    ::close(fd);
    if (!written || ::rename(temporary.c_str(), target.c_str()) != 0) {
        const int failure = written ? errno : savedErrno;
        ::unlink(temporary.c_str());
        throw notSaved(std::string("cannot be written (") + std::strerror(failure) + ")");
    }
    syncDirectory(directory);
}

}  // namespace folvane
