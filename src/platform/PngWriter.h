#pragma once

#include <cstdint>
#include <string>

namespace folvane {

// Writes 8-bit RGB pixels (rows from the top, 3 * width bytes a row) as a PNG
// file. Throws FileError, naming the file, when it cannot be written.
void writePng(const std::string& path, int width, int height, const uint8_t* rgb);

}  // namespace folvane
