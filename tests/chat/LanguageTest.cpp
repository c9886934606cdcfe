#include <gtest/gtest.h>

#include <set>
#include <string>

#include "chat/Language.h"

namespace folvane {
namespace {

TEST(LanguageTest, CodesAreUniqueAndLookUpTheirLabels) {
    std::set<std::string_view> codes;
    for (const auto& language : Language::all()) {
        EXPECT_TRUE(codes.insert(language.isoCode).second) << language.isoCode;
        EXPECT_FALSE(language.label.empty());
        EXPECT_EQ(language.flag.size(), 8u) << language.isoCode;  // two regional indicators
    }
    EXPECT_EQ(Language::all().front().isoCode, "en-us");
    EXPECT_EQ(Language::all().back().isoCode, "su-id");
    EXPECT_EQ(Language::find("zh")->label, Language::find("zh-tw")->label);
    EXPECT_EQ(Language::find("pt-br")->label, "Portuguese (Brazil)");
    EXPECT_EQ(Language::find(""), nullptr);
    EXPECT_EQ(Language::find("EN-US"), nullptr);
}

}  // namespace
}  // namespace folvane
