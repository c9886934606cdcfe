#pragma once

#include <string>

namespace folvane::test {

enum class ImageFormat { png, jpeg, bmp, tiff, webp, heic, avif };

// Writes a picture of width × height pixels in the format, made with that
// format's own encoder: its left half red, its right half blue. Returns false
// when this machine has no encoder for the format.
bool writeTestImage(const std::string& path, ImageFormat format, int width, int height);

}  // namespace folvane::test
