#include "platform/ImageDecoder.h"

#include <libheif/heif.h>
#include <stb/stb_image.h>
#include <tiffio.h>
#include <webp/decode.h>

#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "platform/ImageError.h"

namespace folvane {

namespace {

constexpr int channels = 3;
// Beyond this a picture would take hundreds of megabytes to decode; a vision
// model sees it at 768 pixels anyway.
constexpr long long maxPixels = 80'000'000;

enum class Format { tiff, webp, heif, other };

std::string nameOf(const std::string& path) {
    return "“" + std::filesystem::path(path).filename().string() + "”";
}

ImageError notAPicture(const std::string& path) {
    return ImageError(nameOf(path) +
                      " isn’t a picture that Folvane can read (PNG, JPEG, GIF, BMP, TIFF, WebP, "
                      "HEIC or AVIF).");
}

ImageError damaged(const std::string& path) {
    return ImageError("The image " + nameOf(path) + " is damaged and can’t be read.");
}

void checkSize(const std::string& path, long long width, long long height) {
    if (width <= 0 || height <= 0) throw damaged(path);
    if (width * height > maxPixels) {
        throw ImageError("The image " + nameOf(path) + " is too large (" + std::to_string(width) +
                         " × " + std::to_string(height) + " pixels).");
    }
}

RgbImage sized(const std::string& path, long long width, long long height) {
    checkSize(path, width, height);
    RgbImage image;
    image.width = int(width);
    image.height = int(height);
    image.pixels.resize(size_t(width) * size_t(height) * channels);
    return image;
}

// The first `limit` bytes of the file, or all of it.
std::string readBytes(const std::string& path, size_t limit = std::string::npos) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw ImageError("The image " + nameOf(path) + " couldn’t be opened.");
    if (limit == std::string::npos) return std::string(std::istreambuf_iterator<char>(in), {});
    std::string head(limit, '\0');
    in.read(head.data(), std::streamsize(limit));
    head.resize(size_t(in.gcount()));
    return head;
}

Format sniff(const std::string& head) {
    const auto at = [&](size_t offset, const char* magic) {
        const size_t length = std::strlen(magic);
        return head.size() >= offset + length && head.compare(offset, length, magic) == 0;
    };
    if (at(0, "II*") || at(0, "MM")) {
        if (head.size() >= 4 && (head[2] == 42 || head[3] == 42)) return Format::tiff;
    }
    if (at(0, "RIFF") && at(8, "WEBP")) return Format::webp;
    if (at(4, "ftyp") && heif_check_filetype(reinterpret_cast<const uint8_t*>(head.data()),
                                             int(head.size())) == heif_filetype_yes_supported) {
        return Format::heif;
    }
    return Format::other;
}

// libtiff reports through a handler; a damaged file is said once, by us.
int quietTiff(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

RgbImage decodeTiff(const std::string& path) {
    std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                         &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &quietTiff, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &quietTiff, nullptr);
    std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpenExt(path.c_str(), "r", options.get()),
                                                &TIFFClose);
    if (!tiff) throw damaged(path);
    uint32_t width = 0, height = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    RgbImage image = sized(path, width, height);
    std::vector<uint32_t> raster(size_t(width) * height);
    if (!TIFFReadRGBAImageOriented(tiff.get(), width, height, raster.data(), ORIENTATION_TOPLEFT,
                                   0)) {
        throw damaged(path);
    }
    unsigned char* out = image.pixels.data();
    for (const uint32_t pixel : raster) {
        *out++ = static_cast<unsigned char>(TIFFGetR(pixel));
        *out++ = static_cast<unsigned char>(TIFFGetG(pixel));
        *out++ = static_cast<unsigned char>(TIFFGetB(pixel));
    }
    return image;
}

RgbImage decodeWebp(const std::string& path, const std::string& bytes) {
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    int width = 0, height = 0;
    if (!WebPGetInfo(data, bytes.size(), &width, &height)) throw damaged(path);
    RgbImage image = sized(path, width, height);
    if (!WebPDecodeRGBInto(data, bytes.size(), image.pixels.data(), image.pixels.size(),
                           width * channels)) {
        throw damaged(path);
    }
    return image;
}

RgbImage decodeHeif(const std::string& path) {
    std::unique_ptr<heif_context, void (*)(heif_context*)> context(heif_context_alloc(),
                                                                   &heif_context_free);
    heif_image_handle* rawHandle = nullptr;
    if (heif_context_read_from_file(context.get(), path.c_str(), nullptr).code != heif_error_Ok ||
        heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok) {
        throw damaged(path);
    }
    std::unique_ptr<heif_image_handle, void (*)(const heif_image_handle*)> handle(
        rawHandle, &heif_image_handle_release);
    checkSize(path, heif_image_handle_get_width(handle.get()),
              heif_image_handle_get_height(handle.get()));
    heif_image* rawImage = nullptr;
    if (heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, heif_chroma_interleaved_RGB,
                          nullptr)
            .code != heif_error_Ok) {
        throw damaged(path);
    }
    std::unique_ptr<heif_image, void (*)(const heif_image*)> decoded(rawImage, &heif_image_release);
    // The decoded size is the displayed one (after rotation and cropping).
    const int width = heif_image_get_width(decoded.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(decoded.get(), heif_channel_interleaved);
    RgbImage image = sized(path, width, height);
    int stride = 0;
    const uint8_t* plane =
        heif_image_get_plane_readonly(decoded.get(), heif_channel_interleaved, &stride);
    if (!plane) throw damaged(path);
    for (int row = 0; row < height; ++row) {
        std::memcpy(image.pixels.data() + size_t(row) * width * channels,
                    plane + size_t(row) * stride, size_t(width) * channels);
    }
    return image;
}

RgbImage decodeWithStb(const std::string& path, const std::string& bytes) {
    const auto* data = reinterpret_cast<const stbi_uc*>(bytes.data());
    int width = 0, height = 0, original = 0;
    if (!stbi_info_from_memory(data, int(bytes.size()), &width, &height, &original)) {
        throw notAPicture(path);
    }
    RgbImage image = sized(path, width, height);
    std::unique_ptr<unsigned char, void (*)(void*)> pixels(
        stbi_load_from_memory(data, int(bytes.size()), &width, &height, &original, channels),
        &stbi_image_free);
    // The header and the pixels must agree before the copy.
    if (!pixels || width != image.width || height != image.height) throw damaged(path);
    std::memcpy(image.pixels.data(), pixels.get(), image.pixels.size());
    return image;
}

}  // namespace

RgbImage decodeImage(const std::string& path) {
    if (!std::filesystem::is_regular_file(path)) {
        throw ImageError("The image " + nameOf(path) + " couldn’t be opened.");
    }
    switch (sniff(readBytes(path, 64))) {
        case Format::tiff:
            return decodeTiff(path);
        case Format::webp:
            return decodeWebp(path, readBytes(path));
        case Format::heif:
            return decodeHeif(path);
        case Format::other:
            break;
    }
    return decodeWithStb(path, readBytes(path));
}

}  // namespace folvane
