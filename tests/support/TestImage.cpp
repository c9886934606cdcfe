#include "support/TestImage.h"

#include <libheif/heif.h>
#include <stb/stb_image_write.h>
#include <tiffio.h>
#include <webp/encode.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <vector>

namespace folvane::test {

namespace {

std::vector<unsigned char> halves(int width, int height) {
    std::vector<unsigned char> rgb(size_t(width) * height * 3);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            unsigned char* pixel = &rgb[(size_t(y) * width + x) * 3];
            const bool left = x < width / 2;
            pixel[0] = left ? 220 : 20;
            pixel[1] = 20;
            pixel[2] = left ? 20 : 220;
        }
    }
    return rgb;
}

void writeTiff(const std::string& path, const std::vector<unsigned char>& rgb, int width,
               int height) {
    std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "w"), &TIFFClose);
    if (!tiff) throw std::runtime_error("cannot write " + path);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, uint32_t(width));
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, uint32_t(height));
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, uint32_t(height));
    for (int row = 0; row < height; ++row) {
        auto* line = const_cast<unsigned char*>(&rgb[size_t(row) * width * 3]);
        if (TIFFWriteScanline(tiff.get(), line, uint32_t(row), 0) < 0) {
            throw std::runtime_error("cannot write " + path);
        }
    }
}

void writeWebp(const std::string& path, const std::vector<unsigned char>& rgb, int width,
               int height) {
    uint8_t* encoded = nullptr;
    const size_t size = WebPEncodeLosslessRGB(rgb.data(), width, height, width * 3, &encoded);
    if (size == 0) throw std::runtime_error("cannot encode " + path);
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<char*>(encoded), long(size));
    WebPFree(encoded);
}

bool writeHeif(const std::string& path, heif_compression_format format,
               const std::vector<unsigned char>& rgb, int width, int height) {
    std::unique_ptr<heif_context, void (*)(heif_context*)> context(heif_context_alloc(),
                                                                   &heif_context_free);
    heif_encoder* rawEncoder = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), format, &rawEncoder).code !=
        heif_error_Ok) {
        return false;
    }
    std::unique_ptr<heif_encoder, void (*)(heif_encoder*)> encoder(rawEncoder,
                                                                   &heif_encoder_release);
    heif_encoder_set_lossy_quality(encoder.get(), 90);
    heif_image* rawImage = nullptr;
    heif_image_create(width, height, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &rawImage);
    std::unique_ptr<heif_image, void (*)(const heif_image*)> image(rawImage, &heif_image_release);
    heif_image_add_plane(image.get(), heif_channel_interleaved, width, height, 8);
    int stride = 0;
    uint8_t* plane = heif_image_get_plane(image.get(), heif_channel_interleaved, &stride);
    for (int row = 0; row < height; ++row) {
        std::memcpy(plane + size_t(row) * stride, &rgb[size_t(row) * width * 3], size_t(width) * 3);
    }
    if (heif_context_encode_image(context.get(), image.get(), encoder.get(), nullptr, nullptr)
                .code != heif_error_Ok ||
        heif_context_write_to_file(context.get(), path.c_str()).code != heif_error_Ok) {
        throw std::runtime_error("cannot encode " + path);
    }
    return true;
}

}  // namespace

bool writeTestImage(const std::string& path, ImageFormat format, int width, int height) {
    const std::vector<unsigned char> rgb = halves(width, height);
    bool written = true;
    switch (format) {
        case ImageFormat::png:
            written = stbi_write_png(path.c_str(), width, height, 3, rgb.data(), width * 3);
            break;
        case ImageFormat::jpeg:
            written = stbi_write_jpg(path.c_str(), width, height, 3, rgb.data(), 90);
            break;
        case ImageFormat::bmp:
            written = stbi_write_bmp(path.c_str(), width, height, 3, rgb.data());
            break;
        case ImageFormat::tiff:
            writeTiff(path, rgb, width, height);
            break;
        case ImageFormat::webp:
            writeWebp(path, rgb, width, height);
            break;
        case ImageFormat::heic:
            return writeHeif(path, heif_compression_HEVC, rgb, width, height);
        case ImageFormat::avif:
            return writeHeif(path, heif_compression_AV1, rgb, width, height);
    }
    if (!written) throw std::runtime_error("cannot write " + path);
    return true;
}

}  // namespace folvane::test
