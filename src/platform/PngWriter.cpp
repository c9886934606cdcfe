#include "platform/PngWriter.h"

#include <stb/stb_image_write.h>

#include "platform/FileBookmark.h"

namespace folvane {

void writePng(const std::string& path, int width, int height, const uint8_t* rgb) {
    if (!stbi_write_png(path.c_str(), width, height, 3, rgb, width * 3)) {
        throw FileError("The picture could not be written to " + path + ".");
    }
}

}  // namespace folvane
