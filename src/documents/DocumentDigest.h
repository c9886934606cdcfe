#pragma once

#include <string>

namespace folvane {

// A document's identity beside its URL: the lower-case hexadecimal MD5 of the
// file's first 65,536 bytes (the whole file when shorter). Throws FileError
// when the file cannot be opened for reading.
std::string documentDigest(const std::string& path);

}  // namespace folvane
