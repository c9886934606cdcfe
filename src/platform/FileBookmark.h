#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace folvane {

// A file that cannot be reached or read; what() names the file and the reason.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Durable access data for a user's file: its absolute path with the device and
// inode it had when the data were made. Opaque to everything but this class.
struct ResolvedBookmark {
    std::string url;       // file:// URL of the path the data name
    std::string path;      // the same, as a path
    bool isStale = false;  // the file is no longer there
};

class FileBookmark {
  public:
    // Throws FileError when the file does not exist or is not a regular file.
    static std::vector<uint8_t> make(const std::string& path);
    // Throws FileError when the data are not access data of this program.
    static ResolvedBookmark resolve(const std::vector<uint8_t>& data);
};

}  // namespace folvane
