#include "platform/FileBookmark.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/FileUrl.h"

namespace folvane {

std::vector<uint8_t> FileBookmark::make(const std::string& path) {
    const std::string absolute =
        std::filesystem::absolute(std::filesystem::path(path)).lexically_normal().string();
    struct stat info {};
    if (::stat(absolute.c_str(), &info) != 0) {
        throw FileError("The file “" + absolute + "” couldn’t be opened: " + std::strerror(errno));
    }
    if (!S_ISREG(info.st_mode)) {
        throw FileError("The file “" + absolute + "” couldn’t be opened: it is not a regular file");
    }
    const nlohmann::json object = {
        {"path", absolute}, {"device", uint64_t(info.st_dev)}, {"inode", uint64_t(info.st_ino)}};
    const std::string text = object.dump();
    return {text.begin(), text.end()};
}

ResolvedBookmark FileBookmark::resolve(const std::vector<uint8_t>& data) {
    const auto object = nlohmann::json::parse(data.begin(), data.end(), nullptr, false);
    if (!object.is_object() || !object.contains("path") || !object["path"].is_string()) {
        throw FileError("The bookmark data are not valid");
    }
    ResolvedBookmark resolved;
    resolved.path = object["path"].get<std::string>();
    resolved.url = fileUrlFromPath(resolved.path);
    struct stat info {};
    resolved.isStale = ::stat(resolved.path.c_str(), &info) != 0 || !S_ISREG(info.st_mode);
    return resolved;
}

}  // namespace folvane
