#include "platform/XattrFileTagStore.h"

#include <sys/xattr.h>

#include <cerrno>
#include <cstring>

#include "platform/FileBookmark.h"

namespace folvane {

namespace {

FileError tagError(const std::string& path, const char* what) {
    return FileError("The tags of the file “" + path + "” couldn’t be " + what + ": " +
                     std::strerror(errno));
}

}  // namespace

std::vector<std::string> XattrFileTagStore::tags(const std::string& path) const {
    std::string value;
    for (;;) {
        const ssize_t size = ::getxattr(path.c_str(), attributeName, nullptr, 0);
        if (size < 0) {
            if (errno == ENODATA) return {};
            throw tagError(path, "read");
        }
        value.resize(size_t(size));
        const ssize_t read = ::getxattr(path.c_str(), attributeName, value.data(), value.size());
        if (read >= 0) {
            value.resize(size_t(read));
            break;
        }
        // The attribute grew between the two calls: ask for its size again.
        if (errno != ERANGE) throw tagError(path, "read");
    }
    std::vector<std::string> result;
    size_t start = 0;
    while (start <= value.size()) {
        size_t end = value.find(',', start);
        if (end == std::string::npos) end = value.size();
        if (end > start) result.push_back(value.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

void XattrFileTagStore::setTags(const std::string& path,
                                const std::vector<std::string>& tags) const {
    std::string value;
    for (const auto& tag : tags) {
        if (!value.empty()) value += ',';
        value += tag;
    }
    if (::setxattr(path.c_str(), attributeName, value.data(), value.size(), 0) != 0) {
        throw tagError(path, "written");
    }
}

}  // namespace folvane
