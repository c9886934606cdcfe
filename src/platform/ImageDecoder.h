#pragma once

#include <string>
#include <vector>

namespace folvane {

// A decoded picture: width × height pixels, three bytes (R, G, B) each, row
// by row from the top left. Transparency is dropped.
struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;
};

// Reads a picture file by its content, whatever its name says: PNG, JPEG,
// GIF, BMP, TIFF, WebP, HEIC and AVIF (and the rarer formats stb reads: PSD,
// TGA, PNM). Throws ImageError, naming the file, when the file is gone, is
// no picture of these formats, or is damaged.
RgbImage decodeImage(const std::string& path);

}  // namespace folvane
