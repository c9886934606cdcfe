#include "platform/ImageDataUrl.h"

#include <stb/stb_image_resize.h>
#include <stb/stb_image_write.h>

#include <cmath>
#include <vector>

#include "platform/ImageDecoder.h"
#include "platform/ImageError.h"

namespace folvane {

namespace {

constexpr int jpegQuality = 90;
constexpr int channels = 3;  // JPEG has no transparency

std::string base64(const std::vector<unsigned char>& bytes) {
    static constexpr char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 2 < bytes.size(); i += 3) {
        const unsigned value = bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2];
        for (int shift : {18, 12, 6, 0}) text += alphabet[(value >> shift) & 63];
    }
    if (i < bytes.size()) {
        unsigned value = bytes[i] << 16;
        if (i + 1 < bytes.size()) value |= bytes[i + 1] << 8;
        text += alphabet[(value >> 18) & 63];
        text += alphabet[(value >> 12) & 63];
        text += i + 1 < bytes.size() ? alphabet[(value >> 6) & 63] : '=';
        text += '=';
    }
    return text;
}

}  // namespace

std::string jpegDataUrl(const std::string& path, int longerSide) {
    const RgbImage image = decodeImage(path);
    const int width = image.width, height = image.height;

    const double scale = double(longerSide) / double(std::max(width, height));
    const int scaledWidth = std::max(1, int(std::lround(width * scale)));
    const int scaledHeight = std::max(1, int(std::lround(height * scale)));
    std::vector<unsigned char> scaled(size_t(scaledWidth) * scaledHeight * channels);
    if (!stbir_resize_uint8(image.pixels.data(), width, height, 0, scaled.data(), scaledWidth,
                            scaledHeight, 0, channels)) {
        throw ImageError("The image couldn’t be scaled.");
    }

    std::vector<unsigned char> jpeg;
    const auto append = [](void* context, void* data, int size) {
        auto* out = static_cast<std::vector<unsigned char>*>(context);
        const auto* bytes = static_cast<unsigned char*>(data);
        out->insert(out->end(), bytes, bytes + size);
    };
    if (!stbi_write_jpg_to_func(append, &jpeg, scaledWidth, scaledHeight, channels, scaled.data(),
                                jpegQuality)) {
        throw ImageError("The image couldn’t be written as JPEG.");
    }
    return "data:image/jpeg;base64," + base64(jpeg);
}

}  // namespace folvane
