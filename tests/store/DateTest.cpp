#include <gtest/gtest.h>

#include "store/Date.h"
#include "store/JsonText.h"

namespace folvane {
namespace {

TEST(DateTest, FormatsAndParsesWholeSecondsInUtc) {
    using namespace std::chrono;
    const Date date = sys_days{2024y / March / 9} + 7h + 5min + 3s;
    EXPECT_EQ(formatDate(date), "2024-03-09 07:05:03");
    EXPECT_EQ(parseDate("2024-03-09 07:05:03"), date);
    EXPECT_EQ(formatDate(distantPast()), "0001-01-01 00:00:00");
    EXPECT_EQ(parseDate(formatDate(distantPast())), distantPast());
}

TEST(DateTest, RejectsOtherForms) {
    for (const char* text : {"", "2024-03-09", "2024-03-09T07:05:03", "2024-02-30 00:00:00",
                             "2024-03-09 24:00:00", "2024-03-09 07:05:03.5"}) {
        EXPECT_FALSE(parseDate(text)) << text;
    }
}

TEST(JsonTextTest, CompactWithEscapedSlashesInInsertionOrder) {
    nlohmann::ordered_json value;
    value["z"] = "file:///a/b";
    value["a"] = nlohmann::ordered_json::array({1, 2});
    EXPECT_EQ(compactJson(value), R"({"z":"file:\/\/\/a\/b","a":[1,2]})");
    EXPECT_EQ(nlohmann::json::parse(compactJson(value))["z"], "file:///a/b");
}

}  // namespace
}  // namespace folvane
