#include <gtest/gtest.h>

#include "documents/DocumentError.h"
#include "documents/ViewerPdf.h"
#include "platform/FileBookmark.h"

using namespace folvane;

namespace {

using test::openPdf;

// The same PDF with entries added to its catalogue. The cross-reference
// offsets no longer match, which MuPDF repairs when it opens the file.
std::string withCatalogEntries(std::string pdf, const std::string& entries) {
    const std::string catalog = "/Type /Catalog";
    pdf.replace(pdf.find(catalog), catalog.size(), catalog + " " + entries);
    return pdf;
}

const std::vector<std::string> kPage = {
    "The quick brown fox",
    "jumps over the lazy dog",
    "while the cat sleeps",
    "and the other cat and a third cat wait",
};

}  // namespace

TEST(PdfViewerDocument, LocatesAPassageLineByLineSkippingLinesThePageDoesNotHold) {
    test::TempDir dir;
    auto document = openPdf(dir, test::makePdfWithPages({test::TestPage(kPage)}));
    struct Case {
        const char* name;
        const char* passage;
        size_t rects;
    };
    const Case cases[] = {
        {"one line", "quick brown", 1},
        {"across two lines", "quick brown fox\njumps over the lazy", 2},
        {"in another case", "JUMPS OVER THE LAZY DOG", 1},
        {"a missing line is skipped", "quick brown\nnowhere on this page\nwhile the cat", 2},
        {"blank lines and padding", "\n   quick brown   \n\n", 1},
        {"nothing found", "elephant", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto rects = document->locatePassage(0, c.passage);
        ASSERT_EQ(rects.size(), c.rects);
        for (size_t i = 1; i < rects.size(); ++i) EXPECT_GT(rects[i].y0, rects[i - 1].y0);
        for (const PageRect& rect : rects) {
            EXPECT_LT(rect.x0, rect.x1);
            EXPECT_LT(rect.y0, rect.y1);
            EXPECT_GE(rect.x0, 0);
            EXPECT_LE(rect.y1, 792);
        }
    }
    // Out of range pages hold nothing.
    EXPECT_TRUE(document->locatePassage(1, "quick").empty());
    EXPECT_TRUE(document->locatePassage(-1, "quick").empty());
}

TEST(PdfViewerDocument, SearchesPageByPageInReadingOrderAndStopsWhenAsked) {
    test::TempDir dir;
    auto document =
        openPdf(dir, test::makePdfWithPages({test::TestPage(kPage), test::TestPage({"no match"}),
                                             test::TestPage({"a Cat at the end"})}));
    const auto hits = document->search(0, "cat");
    ASSERT_EQ(hits.size(), 3u);
    EXPECT_LT(hits[0].lines[0].y0, hits[1].lines[0].y0);
    EXPECT_LT(hits[1].lines[0].x0, hits[2].lines[0].x0);

    std::vector<int> pages;
    document->searchDocument("CAT", [&](const PageHit& hit) {
        pages.push_back(hit.pageIndex);
        return true;
    });
    EXPECT_EQ(pages, (std::vector<int>{0, 0, 0, 2}));

    pages.clear();
    document->searchDocument("cat", [&](const PageHit& hit) {
        pages.push_back(hit.pageIndex);
        return pages.size() < 2;
    });
    EXPECT_EQ(pages.size(), 2u);
    EXPECT_TRUE(document->search(0, "").empty());
}

TEST(PdfViewerDocument, ReadsPageLabelsOfEveryStyleFromTheNumberTree) {
    test::TempDir dir;
    const std::vector<test::TestPage> pages(7, test::TestPage({"page"}));
    struct Case {
        const char* name;
        const char* labels;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"none", "", {"1", "2", "3", "4", "5", "6", "7"}},
        {"roman, then decimal with a prefix and a start",
         "/PageLabels << /Nums [0 << /S /r >> 3 << /S /D /P (A-) /St 8 >>] >>",
         {"i", "ii", "iii", "A-8", "A-9", "A-10", "A-11"}},
        {"kids, upper roman and letters, a prefix alone",
         "/PageLabels << /Kids [<< /Nums [0 << /S /R >>] >> << /Nums [2 << /S /a /St 26 >> 5 << /P "
         "(Cover) >>] >>] >>",
         {"I", "II", "z", "aa", "bb", "Cover", "Cover"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto document = openPdf(dir, withCatalogEntries(test::makePdfWithPages(pages), c.labels));
        ASSERT_EQ(document->pageCount(), 7);
        for (int i = 0; i < 7; ++i)
            EXPECT_EQ(document->pageLabel(i), c.expected[static_cast<size_t>(i)]);
    }
}

TEST(PdfViewerDocument, RendersAPageAtAZoomWithItsTextInInk) {
    test::TempDir dir;
    auto document = openPdf(dir, test::makePdfWithPages({test::TestPage(kPage, 24)}));
    const auto size = document->pageSize(0);
    ASSERT_TRUE(size);
    EXPECT_DOUBLE_EQ(size->width, 612);
    EXPECT_DOUBLE_EQ(size->height, 792);
    const auto image = document->render(0, 0.5);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width, 306);
    EXPECT_EQ(image->height, 396);
    ASSERT_EQ(image->pixels.size(), size_t{306} * 396 * 3);
    // Where the first line stands, some pixels are dark; the bottom is white.
    const auto rects = document->locatePassage(0, "The quick brown fox");
    ASSERT_EQ(rects.size(), 1u);
    bool ink = false;
    for (int y = static_cast<int>(rects[0].y0 / 2); y < static_cast<int>(rects[0].y1 / 2); ++y) {
        for (int x = static_cast<int>(rects[0].x0 / 2); x < static_cast<int>(rects[0].x1 / 2);
             ++x) {
            ink = ink || image->pixels[static_cast<size_t>((y * 306 + x) * 3)] < 128;
        }
    }
    EXPECT_TRUE(ink);
    EXPECT_EQ(image->pixels.back(), 255);
    EXPECT_FALSE(document->render(1, 1));
    EXPECT_FALSE(document->render(0, 0));
}

TEST(PdfViewerDocument, RefusesWhatCannotBeShownInTheWordsOfIntake) {
    test::TempDir dir;
    EXPECT_THROW(PdfViewerDocument::open(dir / "missing.pdf"), FileError);
    test::writeFile(dir / "notes.pdf", "plain text");
    try {
        PdfViewerDocument::open(dir / "notes.pdf");
        FAIL() << "a text file opened";
    } catch (const DocumentError& error) {
        EXPECT_STREQ(error.what(), "“notes.pdf” is not a PDF document.");
    }
}

TEST(PdfViewerDocument, FormatsLabelNumbers) {
    struct Case {
        const char* style;
        int number;
        const char* label;
    };
    const Case cases[] = {{"D", 12, "12"}, {"r", 14, "xiv"}, {"R", 1994, "MCMXCIV"},
                          {"a", 1, "a"},   {"A", 28, "BB"},  {"a", 52, "zz"},
                          {"", 5, ""},     {"r", 0, ""}};
    for (const Case& c : cases) {
        EXPECT_EQ(formatPageLabelNumber(c.style, c.number), c.label) << c.style << c.number;
    }
}
