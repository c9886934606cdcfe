#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingModelLoadError.h"
#include "SimilaritySearchKit/SafetensorsFile.h"
#include "support/SafetensorsWriter.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

std::string lengthPrefix(std::uint64_t length) {
    std::string bytes(8, '\0');
    std::memcpy(bytes.data(), &length, 8);
    return bytes;
}

std::string withHeader(const std::string& header, const std::string& data = "") {
    return lengthPrefix(header.size()) + header + data;
}

std::string u16Bytes(std::initializer_list<std::uint16_t> values) {
    std::string bytes;
    for (const std::uint16_t value : values) {
        bytes.push_back(static_cast<char>(value & 0xff));
        bytes.push_back(static_cast<char>(value >> 8));
    }
    return bytes;
}

struct DamagedCase {
    const char* name;
    std::string bytes;
    const char* reason;
};

class DamagedSafetensorsTest : public testing::TestWithParam<DamagedCase> {};

TEST_P(DamagedSafetensorsTest, ThrowsWithTheReason) {
    const test::TempDir dir;
    const std::string path = dir / "model.safetensors";
    test::writeFile(path, GetParam().bytes);
    try {
        SafetensorsFile file(path);
        FAIL() << "opened a damaged file";
    } catch (const EmbeddingModelLoadError& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find(path), std::string::npos) << text;
        EXPECT_NE(text.find(GetParam().reason), std::string::npos) << text;
    }
}

const std::string goodTensor = R"({"w":{"dtype":"F32","shape":[2],"data_offsets":[0,8]}})";

const DamagedCase damagedCases[] = {
    {"Empty", "", "too short to hold a header length"},
    {"ShorterThanTheLength", "abc", "too short to hold a header length"},
    {"HeaderPastTheEnd", lengthPrefix(1000) + "{}", "truncated inside its header"},
    {"ImplausibleHeaderLength", lengthPrefix(std::uint64_t(1) << 40) + "{}",
     "header length is implausibly large"},
    {"HeaderNotJson", withHeader("{\"w\": [1, 2"), "not a JSON object"},
    {"HeaderIsAnArray", withHeader("[1, 2]"), "not a JSON object"},
    {"DataCutShort", withHeader(goodTensor, std::string(5, '\0')),
     "truncated: the tensor w ends past its end"},
    {"ShapeDisagreesWithBytes",
     withHeader(R"({"w":{"dtype":"F32","shape":[3],"data_offsets":[0,8]}})", std::string(8, '\0')),
     "the tensor w of shape [3] does not fill its 8 bytes"},
    {"OffsetsReversed",
     withHeader(R"({"w":{"dtype":"F32","shape":[1],"data_offsets":[8,4]}})", std::string(8, '\0')),
     "ends before it begins"},
    {"NegativeDimension",
     withHeader(R"({"w":{"dtype":"F32","shape":[-1],"data_offsets":[0,4]}})", std::string(4, '\0')),
     "shape that is not counts"},
    {"OverflowingShape",
     withHeader(
         R"({"w":{"dtype":"F32","shape":[4294967296,4294967296,4294967296],"data_offsets":[0,4]}})",
         std::string(4, '\0')),
     "impossibly large"},
    {"NoDtype", withHeader(R"({"w":{"shape":[1],"data_offsets":[0,4]}})", std::string(4, '\0')),
     "the tensor w has no dtype"},
    {"NoOffsets", withHeader(R"({"w":{"dtype":"F32","shape":[1]}})", std::string(4, '\0')),
     "no valid data_offsets"},
    {"MetadataNotText", withHeader(R"({"__metadata__":{"n_heads":4}})"),
     "metadata entry n_heads is not a string"},
};

INSTANTIATE_TEST_SUITE_P(Files, DamagedSafetensorsTest, testing::ValuesIn(damagedCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(SafetensorsFileTest, MissingFileThrows) {
    const test::TempDir dir;
    EXPECT_THROW(SafetensorsFile(dir / "absent.safetensors"), EmbeddingModelLoadError);
    EXPECT_THROW(SafetensorsFile(dir.path()), EmbeddingModelLoadError);
}

TEST(SafetensorsFileTest, ConvertsEachDtypeToFloats) {
    const test::TempDir dir;
    const std::string path = dir / "types.safetensors";
    double f64[] = {1.5, -0.25};
    std::string f64Bytes(sizeof f64, '\0');
    std::memcpy(f64Bytes.data(), f64, sizeof f64);
    test::writeFile(
        path, test::safetensorsBytes({{"half",
                                       {"F16",
                                        {2, 5},
                                        u16Bytes({0x3c00, 0xc000, 0x7bff, 0x0001, 0x0400, 0x3800,
                                                  0x8000, 0x7c00, 0xfc00, 0x0200})}},
                                      {"brain", {"BF16", {2}, u16Bytes({0x3f80, 0xc040})}},
                                      {"double", {"F64", {2}, f64Bytes}},
                                      {"single", test::f32Tensor({1, 3}, {0.1f, -7.0f, 3e-39f})},
                                      {"ids", {"I64", {1}, std::string(8, '\0')}}},
                                     {{"n_heads", "4"}}));

    const SafetensorsFile file(path);
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(file.floats("half"), (std::vector<float>{1.0f, -2.0f, 65504.0f, std::ldexp(1.0f, -24),
                                                       std::ldexp(1.0f, -14), 0.5f, -0.0f, inf,
                                                       -inf, std::ldexp(1.0f, -15)}));
    EXPECT_TRUE(std::signbit(file.floats("half")[6]));
    EXPECT_EQ(file.floats("brain"), (std::vector<float>{1.0f, -3.0f}));
    EXPECT_EQ(file.floats("double"), (std::vector<float>{1.5f, -0.25f}));
    EXPECT_EQ(file.floats("single"), (std::vector<float>{0.1f, -7.0f, 3e-39f}));
    EXPECT_EQ(file.tensor("half").shape, (std::vector<int64_t>{2, 5}));
    EXPECT_EQ(file.bytes("brain").size(), 4u);
    EXPECT_EQ(file.metadata("n_heads"), "4");
    EXPECT_EQ(file.metadata("format"), std::nullopt);

    // A tensor of another type may be present; it only cannot be read as floats.
    EXPECT_TRUE(file.contains("ids"));
    EXPECT_THROW(file.floats("ids"), EmbeddingModelLoadError);
    EXPECT_THROW(file.tensor("absent"), EmbeddingModelLoadError);
}

}  // namespace
}  // namespace folvane
