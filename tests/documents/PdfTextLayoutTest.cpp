// Search and selection over lines of boxed characters, as an OCR page gives
// them: made here with a box of 10 points a character, 20 points a line.

#include <gtest/gtest.h>

#include "documents/PdfTextLayout.h"

using namespace folvane;

namespace {

std::vector<TextLine> linesOf(const std::vector<std::string>& texts) {
    std::vector<TextLine> lines;
    for (size_t l = 0; l < texts.size(); ++l) {
        TextLine line;
        const double y = 20.0 * static_cast<double>(l);
        for (size_t c = 0; c < texts[l].size(); ++c) {
            const double x = 10.0 * static_cast<double>(c);
            line.chars.push_back({{x, y, x + 8, y + 12}, std::string(1, texts[l][c])});
        }
        line.rect = {0, y, 10.0 * static_cast<double>(texts[l].size()) - 2, y + 12};
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace

TEST(PdfTextLayout, FindsMatchesCaseInsensitivelyWithOneRectangleALine) {
    const auto lines = linesOf({"The quick brown fox", "jumps over  the dog", "aaaa"});
    struct Case {
        const char* name;
        const char* needle;
        std::vector<std::vector<PageRect>> hits;
    };
    const Case cases[] = {
        {"a word", "quick", {{{40, 0, 88, 12}}}},
        {"another case", "QUICK Brown", {{{40, 0, 148, 12}}}},
        {"across a line break", "fox jumps", {{{160, 0, 188, 12}, {0, 20, 48, 32}}}},
        {"blanks in the needle match any run of blanks", "over the", {{{60, 20, 148, 32}}}},
        {"blanks around the needle are ignored", "  dog ", {{{160, 20, 188, 32}}}},
        {"matches do not overlap", "aa", {{{0, 40, 18, 52}}, {{20, 40, 38, 52}}}},
        {"in reading order", "o", {}},
        {"nothing", "cat", {}},
        {"an empty needle", "   ", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto hits = text_layout::search(lines, c.needle, 4);
        if (std::string(c.name) == "in reading order") {
            ASSERT_EQ(hits.size(), 4u);
            for (size_t i = 1; i < hits.size(); ++i) {
                const PageRect& a = hits[i - 1].lines[0];
                const PageRect& b = hits[i].lines[0];
                EXPECT_TRUE(a.y0 < b.y0 || (a.y0 == b.y0 && a.x0 < b.x0));
            }
            continue;
        }
        ASSERT_EQ(hits.size(), c.hits.size());
        for (size_t i = 0; i < hits.size(); ++i) {
            EXPECT_EQ(hits[i].pageIndex, 4);
            EXPECT_EQ(hits[i].lines, c.hits[i]);
        }
    }
}

TEST(PdfTextLayout, ASelectionRunsFromTheNearestCharacterToTheOtherInReadingOrder) {
    const auto lines = linesOf({"first line", "second line", "third"});
    struct Case {
        const char* name;
        double fromX, fromY, toX, toY;
        const char* text;
    };
    const Case cases[] = {
        {"within a line", 12, 5, 43, 5, "irst"},
        {"backwards", 43, 5, 12, 5, "irst"},
        {"across lines", 62, 5, 23, 45, "line\nsecond line\nthi"},
        {"from above the page and past the end of a line", 5, -30, 400, 25,
         "first line\nsecond line"},
        {"one point", 52, 25, 52, 25, "d"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(text_layout::between(lines, c.fromX, c.fromY, c.toX, c.toY), c.text);
    }
    EXPECT_EQ(text_layout::between({}, 0, 0, 100, 100), "");
}
