#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stb/stb_image.h>

#include "platform/ImageDataUrl.h"
#include "platform/ImageDecoder.h"
#include "platform/ImageError.h"
#include "support/TempDir.h"
#include "support/TestImage.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using test::ImageFormat;
using ::testing::HasSubstr;

struct Sample {
    const char* name;  // the file name says nothing: the content decides
    ImageFormat format;
};

const Sample samples[] = {
    {"a.png", ImageFormat::png},   {"b.jpg", ImageFormat::jpeg},     {"c.bmp", ImageFormat::bmp},
    {"d.tif", ImageFormat::tiff},  {"e.webp", ImageFormat::webp},    {"f.heic", ImageFormat::heic},
    {"g.avif", ImageFormat::avif}, {"photo.png", ImageFormat::heic},
};

// Red on the left, blue on the right, whatever a lossy encoder made of it.
void expectHalves(const RgbImage& image, const std::string& name) {
    const auto at = [&](int x, int y) { return &image.pixels[(size_t(y) * image.width + x) * 3]; };
    const unsigned char* left = at(image.width / 4, image.height / 2);
    const unsigned char* right = at(image.width * 3 / 4, image.height / 2);
    EXPECT_GT(left[0], 150) << name;
    EXPECT_LT(left[2], 90) << name;
    EXPECT_LT(right[0], 90) << name;
    EXPECT_GT(right[2], 150) << name;
}

TEST(ImageDecoder, ReadsEveryFormatByItsContent) {
    test::TempDir dir;
    for (const auto& sample : samples) {
        const std::string path = dir / sample.name;
        if (!test::writeTestImage(path, sample.format, 64, 48)) {
            ADD_FAILURE() << "no encoder for " << sample.name;
            continue;
        }
        const RgbImage image = decodeImage(path);
        EXPECT_EQ(image.width, 64) << sample.name;
        EXPECT_EQ(image.height, 48) << sample.name;
        ASSERT_EQ(image.pixels.size(), 64u * 48u * 3u) << sample.name;
        expectHalves(image, sample.name);
    }
}

std::string fromBase64(const std::string& text) {
    static const std::string alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned value = 0;
    int bits = 0;
    for (const char c : text) {
        if (c == '=') break;
        value = value << 6 | unsigned(alphabet.find(c));
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += char((value >> bits) & 0xff);
        }
    }
    return bytes;
}

TEST(ImageDecoder, AJpegDataUrlOfATiffIsScaledToItsLongerSide) {
    test::TempDir dir;
    const std::string path = dir / "tall.tiff";
    ASSERT_TRUE(test::writeTestImage(path, ImageFormat::tiff, 100, 200));
    const std::string url = jpegDataUrl(path);
    const std::string prefix = "data:image/jpeg;base64,";
    ASSERT_EQ(url.substr(0, prefix.size()), prefix);
    const std::string jpeg = fromBase64(url.substr(prefix.size()));
    int width = 0, height = 0, channels = 0;
    ASSERT_TRUE(stbi_info_from_memory(reinterpret_cast<const stbi_uc*>(jpeg.data()),
                                      int(jpeg.size()), &width, &height, &channels));
    EXPECT_EQ(width, 384);
    EXPECT_EQ(height, 768);
}

TEST(ImageDecoder, RefusesWhatItCannotReadWithTheFilesName) {
    test::TempDir dir;
    ASSERT_TRUE(test::writeTestImage(dir / "whole.png", ImageFormat::png, 64, 48));
    ASSERT_TRUE(test::writeTestImage(dir / "whole.webp", ImageFormat::webp, 64, 48));
    ASSERT_TRUE(test::writeTestImage(dir / "whole.tif", ImageFormat::tiff, 64, 48));
    const auto truncated = [&](const std::string& from, const std::string& to, size_t keep) {
        test::writeFile(dir / to, test::readFile(dir / from).substr(0, keep));
    };
    truncated("whole.png", "cut.png", 60);
    truncated("whole.webp", "cut.webp", 30);
    truncated("whole.tif", "cut.tif", 12);
    test::writeFile(dir / "drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    test::writeFile(dir / "empty.png", "");
    test::writeFile(dir / "paper.png", test::makePdf({"A page."}));

    const struct {
        const char* name;
        const char* words;
    } cases[] = {
        {"cut.png", "The image “cut.png” is damaged and can’t be read."},
        {"cut.webp", "The image “cut.webp” is damaged and can’t be read."},
        {"cut.tif", "The image “cut.tif” is damaged and can’t be read."},
        {"drawing.svg", "“drawing.svg” isn’t a picture that Folvane can read"},
        {"empty.png", "“empty.png” isn’t a picture that Folvane can read"},
        {"paper.png", "“paper.png” isn’t a picture that Folvane can read"},
        {"gone.png", "The image “gone.png” couldn’t be opened."},
    };
    for (const auto& c : cases) {
        try {
            decodeImage(dir / c.name);
            ADD_FAILURE() << c.name << " was read";
        } catch (const ImageError& error) {
            EXPECT_THAT(error.what(), HasSubstr(c.words)) << c.name;
        }
        EXPECT_THROW(jpegDataUrl(dir / c.name), ImageError) << c.name;
    }
}

}  // namespace
}  // namespace folvane
