#include <gtest/gtest.h>

#include <set>

#include "speech/SpeechLanguages.h"

namespace folvane {
namespace {

TEST(SpeechLanguagesTest, FiftyEightInThePickersOrderAutoDetectFirst) {
    const auto& languages = speechLanguages();
    ASSERT_EQ(languages.size(), 58u);
    EXPECT_EQ(languages.front(), (SpeechLanguage{"Auto Detect", ""}));
    EXPECT_EQ(languages[1], (SpeechLanguage{"English", "en"}));
    EXPECT_EQ(languages.back(), (SpeechLanguage{"Welsh", "cy"}));
    std::set<std::string> codes;
    for (const auto& language : languages) codes.insert(language.code);
    EXPECT_EQ(codes.size(), 58u);
}

}  // namespace
}  // namespace folvane
