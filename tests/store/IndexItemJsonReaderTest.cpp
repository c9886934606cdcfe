#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "store/IndexItemJsonReader.h"
#include "store/JsonText.h"

namespace folvane {
namespace {

// What the general parser makes of a text.
IndexItem parsedByLibrary(const std::string& json) {
    return indexItemFromJson(nlohmann::json::parse(json));
}

// The reader reads what the program writes as the item and as the library does.
void expectReadBack(const IndexItem& item) {
    const std::string json = compactJson(toJson(item));
    const auto read = IndexItemJsonReader::read(json);
    ASSERT_TRUE(read) << json.substr(0, 200);
    EXPECT_EQ(*read, item);
    EXPECT_EQ(*read, parsedByLibrary(json));
}

TEST(IndexItemJsonReader, ReadsWhatTheProgramWritesExactly) {
    const float tiny = std::numeric_limits<float>::denorm_min();
    const std::vector<IndexItem> items{
        {"8F1C-UUID",
         "Plain text.",
         {0.1f, -0.25f, 3.0f},
         {{"bookmarkId", "1"}, {"page", "Optional(2)"}}},
        {"", "", {}, {}},
        {"q\"uote",
         "back\\slash / and \"quotes\"\n\ttab \r\b\f",
         {0.0f, -0.0f},
         {{"k/ey", "v\"al"}}},
        {"ü",
         "Ünïcödé ✓ 漢字 and 😀 and \x01 control",
         {1e-38f, tiny, 3.4e38f, -1.17549435e-38f},
         {{"ключ", "значение"}}},
        {"big", std::string(5000, 'x'), std::vector<float>(768, 0.123456789f), {}},
    };
    for (const auto& item : items) expectReadBack(item);
}

TEST(IndexItemJsonReader, AgreesWithTheLibraryOnRandomItems) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    std::uniform_int_distribution<int> exponent(-40, 38);
    const std::vector<std::string> pieces{"a", " ", "\"", "\\",   "/", "\n",
                                          "é", "€", "𝄞",  "\x1f", "z"};
    std::uniform_int_distribution<size_t> piece(0, pieces.size() - 1);
    const auto text = [&](int length) {
        std::string out;
        for (int i = 0; i < length; ++i) out += pieces[piece(random)];
        return out;
    };
    for (int n = 0; n < 200; ++n) {
        IndexItem item{text(5), text(40), {}, {{text(3), text(6)}, {"page", "Optional(7)"}}};
        for (int d = 0; d < 64; ++d) {
            item.embedding.push_back(value(random) * std::pow(10.0f, float(exponent(random)) / 4));
        }
        expectReadBack(item);
    }
}

TEST(IndexItemJsonReader, ReadsOtherValidSpellingsAsTheLibraryDoes) {
    const std::vector<std::string> texts{
        R"( { "metadata" : { } , "embedding" : [ 1 , -0 , 2.5e-3 , 1E+2 , 7e0 ] ,
              "text" : "\u00e9\ud83d\ude00\/" , "id" : "x" } )",
        R"({"id":"a","text":"b","embedding":[],"metadata":{"k":"1","k":"2"}})",
        R"({"id":"a","text":"b","embedding":[0.30000001192092896,1e-45,340282346638528859811704183484516925440],"metadata":{}})",
    };
    for (const auto& json : texts) {
        const auto read = IndexItemJsonReader::read(json);
        ASSERT_TRUE(read) << json;
        EXPECT_EQ(*read, parsedByLibrary(json)) << json;
    }
}

// Whatever the reader declines goes to the library, which keeps the final
// word on what is valid.
TEST(IndexItemJsonReader, DeclinesWhatItDoesNotRead) {
    const std::vector<std::string> texts{
        "",
        "[]",
        R"({"id":"a","text":"b","embedding":[1]})",
        R"({"id":"a","text":"b","embedding":[1],"metadata":{},"extra":1})",
        R"({"id":"a","id":"b","text":"b","embedding":[1],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[1],"metadata":{}} x)",
        R"({"id":"a","text":"b","embedding":[01],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[1.],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[.5],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[+1],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[NaN],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[1e999],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[1,],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[1 2],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[null],"metadata":{}})",
        R"({"id":"a","text":"\ud800","embedding":[1],"metadata":{}})",
        R"({"id":"a","text":"\x","embedding":[1],"metadata":{}})",
        R"({"id":"a","text":"b","embedding":[1],"metadata":{"k":1}})",
        "{\"id\":\"a\",\"text\":\"raw\ttab\",\"embedding\":[1],\"metadata\":{}}",
        "{\"id\":\"a\",\"text\":\"\xc3\x28\",\"embedding\":[1],\"metadata\":{}}",
        "{\"id\":\"a\",\"text\":\"\xed\xa0\x80\",\"embedding\":[1],\"metadata\":{}}",
        R"({"id":"a","text":"unterminated)",
    };
    for (const auto& json : texts) EXPECT_FALSE(IndexItemJsonReader::read(json)) << json;
}

TEST(IndexItemJsonReader, ReadsABareArrayFromAPosition) {
    const std::string text = "xx [0.5, -2, 1e2 ] tail";
    size_t position = 2;
    std::vector<float> values{9};
    ASSERT_TRUE(IndexItemJsonReader::readFloatArray(text, position, values));
    EXPECT_EQ(values, (std::vector<float>{0.5f, -2.0f, 100.0f}));
    EXPECT_EQ(text.substr(position), " tail");

    position = 0;
    EXPECT_FALSE(IndexItemJsonReader::readFloatArray("[1, \"2\"]", position, values));
    EXPECT_EQ(position, 0u);
}

}  // namespace
}  // namespace folvane
