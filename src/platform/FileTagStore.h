#pragma once

#include <string>
#include <vector>

namespace folvane {

// The user's tags on a file, as the desktop's file managers show them.
class FileTagStore {
  public:
    virtual ~FileTagStore() = default;

    // The file's tags, empty when it has none. Throws FileError when the file
    // cannot be read.
    virtual std::vector<std::string> tags(const std::string& path) const = 0;
    // Replaces the file's tags. Throws FileError when they cannot be written.
    virtual void setTags(const std::string& path, const std::vector<std::string>& tags) const = 0;
};

}  // namespace folvane
