#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SimilaritySearchKit/TextUnits.h"

namespace folvane::textunits {
namespace {

using Views = std::vector<std::string_view>;

TEST(TextUnitsTest, CharactersAreGraphemeClusters) {
    EXPECT_EQ(characters("ab"), (Views{"a", "b"}));
    EXPECT_EQ(characters("e\xCC\x81x"), (Views{"e\xCC\x81", "x"}));
    EXPECT_EQ(characters("a\r\nb"), (Views{"a", "\r\n", "b"}));
    // A family emoji joined by zero-width joiners, and a flag.
    EXPECT_EQ(characterCount("👨‍👩‍👧🇩🇪"), 2u);
    EXPECT_EQ(characterCount(""), 0u);
}

TEST(TextUnitsTest, TrimRemovesSpacesAndTabsOnly) {
    EXPECT_EQ(trimSpacesAndTabs(" \t a b \t"), "a b");
    EXPECT_EQ(trimSpacesAndTabs("\n a \n"), "\n a \n");
    EXPECT_EQ(trimSpacesAndTabs("\u00a0x\u3000"), "x");
    EXPECT_EQ(trimSpacesAndTabs(" \t "), "");
}

TEST(TextUnitsTest, SplitKeepsEmptyParts) {
    EXPECT_EQ(splitKeepingEmpty("a\n\nb\n", "\n"), (Views{"a", "", "b", ""}));
    EXPECT_EQ(splitKeepingEmpty("", "."), (Views{""}));
    EXPECT_EQ(splitKeepingEmpty("a.b", ""), (Views{"a.b"}));
    EXPECT_EQ(countOccurrences("a\n\nb\n", "\n"), 3u);
    EXPECT_EQ(utf16Length("a€😀"), 4u);
}

}  // namespace
}  // namespace folvane::textunits
