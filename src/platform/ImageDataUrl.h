#pragma once

#include <string>

namespace folvane {

// A picture file as a JPEG data URL ("data:image/jpeg;base64,…"), scaled so
// that its longer side is longerSide pixels (a smaller picture is scaled up),
// keeping its proportions. Reads what decodeImage reads; throws ImageError
// when the file is gone, no such picture or damaged.
std::string jpegDataUrl(const std::string& path, int longerSide = 768);

}  // namespace folvane
