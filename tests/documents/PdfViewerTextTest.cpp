// Where a page's text stands: character boxes, what a mouse selection copies,
// a search stopped from another thread, and the lines of a page read by OCR.

#include <gtest/gtest.h>

#include <condition_variable>
#include <thread>

#include "documents/ViewerPdf.h"

using namespace folvane;

namespace {

using test::openPdf;

const std::vector<std::string> kPage = {
    "The quick brown fox",
    "jumps over the lazy dog",
    "while the cat sleeps",
};

// The middle of the first box of word on the page.
std::pair<double, double> centreOf(PdfViewerDocument& document, const std::string& word) {
    const auto hits = document.search(0, word);
    if (hits.empty()) return {-1, -1};
    const PageRect& r = hits.front().lines.front();
    return {(r.x0 + r.x1) / 2, (r.y0 + r.y1) / 2};
}

// A page of two columns of Helvetica, the right one from x = 330. The file
// has no cross-reference table, which MuPDF rebuilds when it opens it.
std::string twoColumnPdf(const std::vector<std::string>& left,
                         const std::vector<std::string>& right) {
    std::string content;
    for (const auto& [x, lines] : {std::pair{72, &left}, std::pair{330, &right}}) {
        content += "BT /F1 14 Tf 18 TL " + std::to_string(x) + " 700 Td";
        for (const std::string& line : *lines) content += " (" + line + ") Tj T*";
        content += " ET\n";
    }
    return "%PDF-1.4\n"
           "1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj\n"
           "2 0 obj << /Type /Pages /Kids [3 0 R] /Count 1 >> endobj\n"
           "3 0 obj << /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font "
           "<< /F1 4 0 R >> >> /Contents 5 0 R >> endobj\n"
           "4 0 obj << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> endobj\n"
           "5 0 obj << /Length " +
           std::to_string(content.size()) + " >>\nstream\n" + content +
           "\nendstream endobj\ntrailer << /Root 1 0 R >>\n%%EOF\n";
}

}  // namespace

TEST(PdfViewerText, APassageIsLocatedAcrossAColumnBreak) {
    test::TempDir dir;
    auto document = openPdf(dir, twoColumnPdf({"Rivers carve the valley", "over many thousand"},
                                              {"years of slow work", "until the sea takes it"}));
    // As extraction reads the page: the left column, then the right.
    EXPECT_EQ(document->pageText(0),
              "Rivers carve the valley\nover many thousand\nyears of slow work\nuntil the sea "
              "takes it");
    const auto rects = document->locatePassage(0, "over many thousand\nyears of slow");
    ASSERT_EQ(rects.size(), 2u);
    EXPECT_LT(rects[0].x1, 330);
    EXPECT_GE(rects[1].x0, 329);
    // The right column's first line stands one line higher than the left's second.
    EXPECT_NEAR(rects[0].y0 - rects[1].y0, 18, 0.5);
    // The search joins the two columns' lines as the text runs.
    const auto hits = document->search(0, "thousand years");
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0].lines.size(), 2u);
}

TEST(PdfViewerText, GivesEachLineWithItsCharactersBoxedLeftToRight) {
    test::TempDir dir;
    auto document = openPdf(dir, test::makePdfWithPages({test::TestPage(kPage, 20)}));
    const auto lines = document->pageTextLayout(0);
    ASSERT_EQ(lines.size(), 3u);
    for (size_t l = 0; l < lines.size(); ++l) {
        SCOPED_TRACE(l);
        EXPECT_EQ(lines[l].text(), kPage[l]);
        ASSERT_EQ(lines[l].chars.size(), kPage[l].size());
        if (l > 0) {
            EXPECT_GE(lines[l].rect.y0, lines[l - 1].rect.y1 - 1);
        }
        for (size_t c = 0; c < lines[l].chars.size(); ++c) {
            const PageRect& box = lines[l].chars[c].box;
            EXPECT_LE(box.x0, box.x1);
            EXPECT_LT(box.y0, box.y1);
            EXPECT_GE(box.x0, lines[l].rect.x0 - 0.01);
            EXPECT_LE(box.x1, lines[l].rect.x1 + 0.01);
            if (c > 0) {
                EXPECT_GE(box.x0, lines[l].chars[c - 1].box.x0);
            }
        }
    }
    EXPECT_EQ(document->pageText(0),
              "The quick brown fox\njumps over the lazy dog\nwhile the cat sleeps");
    EXPECT_TRUE(document->pageTextLayout(1).empty());
}

TEST(PdfViewerText, ASelectionCopiesTheTextBetweenItsPointsInReadingOrder) {
    test::TempDir dir;
    auto document = openPdf(dir, test::makePdfWithPages({test::TestPage(kPage, 20)}));
    const auto [quickX, quickY] = centreOf(*document, "quick");
    const auto [lazyX, lazyY] = centreOf(*document, "lazy");
    const auto [brownX, brownY] = centreOf(*document, "brown");
    const auto [catX, catY] = centreOf(*document, "cat");
    struct Case {
        const char* name;
        PageRect fromTo;
        const char* copied;
    };
    // Points in the middle of words: the selection starts and ends inside them.
    const Case cases[] = {
        {"within a line", {quickX, quickY, brownX, brownY}, "ick bro"},
        {"across two lines", {quickX, quickY, lazyX, lazyY}, "ick brown fox\njumps over the la"},
        {"dragged upwards", {lazyX, lazyY, quickX, quickY}, "ick brown fox\njumps over the la"},
        {"across three lines",
         {quickX, quickY, catX, catY},
         "ick brown fox\njumps over the lazy dog\nwhile the c"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(document->textInSelection(0, c.fromTo), c.copied);
    }
    EXPECT_EQ(document->textInSelection(3, {0, 0, 600, 700}), "");
}

TEST(PdfViewerText, ASearchStopsBetweenPagesWhenCancelledFromAnotherThread) {
    test::TempDir dir;
    std::vector<test::TestPage> pages(40, test::TestPage({"a needle here", "and a needle there"}));
    auto document = openPdf(dir, test::makePdfWithPages(pages));
    SearchCancel cancel;
    std::mutex mutex;
    std::condition_variable changed;
    bool firstSeen = false;
    std::vector<int> order;
    std::thread searching([&] {
        document->searchDocument(
            "NEEDLE",
            [&](const PageHit& hit) {
                std::unique_lock lock(mutex);
                order.push_back(hit.pageIndex);
                firstSeen = true;
                changed.notify_all();
                // Hold the search on its first page until it has been cancelled.
                changed.wait(lock, [&] { return cancel.cancelled(); });
                return true;
            },
            cancel);
    });
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return firstSeen; });
        cancel.cancel();
        changed.notify_all();
    }
    searching.join();
    // Both hits of the first page came, in order, and no page after it.
    EXPECT_EQ(order, (std::vector<int>{0, 0}));

    int all = 0;
    document->searchDocument("needle", [&](const PageHit&) { return ++all > 0; });
    EXPECT_EQ(all, 80);
}

TEST(PdfViewerText, APageWithoutTextIsSearchedAndLocatedInItsRecognisedLines) {
    test::TempDir dir;
    auto document =
        openPdf(dir, test::makeScannedPdf({{"Morning light falls", "softly on the hills"}}, 24));
    const auto lines = document->pageTextLayout(0);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text(), "Morning light falls");
    EXPECT_EQ(lines[1].text(), "softly on the hills");
    EXPECT_LT(lines[0].rect.y1, lines[1].rect.y1);

    const auto hits = document->search(0, "FALLS SOFTLY");
    ASSERT_EQ(hits.size(), 1u);
    ASSERT_EQ(hits[0].lines.size(), 2u);
    // The match's rectangles lie in its lines: the end of the first, the
    // start of the second.
    EXPECT_GT(hits[0].lines[0].x0, lines[0].rect.x0 + 20);
    EXPECT_NEAR(hits[0].lines[1].x0, lines[1].rect.x0, 2);
    EXPECT_LT(hits[0].lines[1].x1, lines[1].rect.x1 - 20);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_GE(hits[0].lines[i].y0, lines[i].rect.y0 - 1);
        EXPECT_LE(hits[0].lines[i].y1, lines[i].rect.y1 + 1);
    }

    const auto rects = document->locatePassage(0, "morning light\nnot on this page\non the hills");
    ASSERT_EQ(rects.size(), 2u);
    EXPECT_LT(rects[0].y1, rects[1].y1);
    EXPECT_EQ(document->textInSelection(0, {lines[0].rect.x0 + 1, lines[0].rect.y0 + 2,
                                            lines[1].rect.x1 - 1, lines[1].rect.y1 - 2}),
              "Morning light falls\nsoftly on the hills");
}

TEST(PdfViewerText, PassagesAreLocatedOnRotatedPagesAndAcrossHyphenatedLines) {
    test::TempDir dir;
    struct Case {
        const char* name;
        std::vector<std::string> lines;
        const char* rotate;  // the page's /Rotate, or none
        const char* passage;
        size_t rects;
    };
    const Case cases[] = {
        {"a hyphen at a line end",
         {"the first exam-", "ple of a hyphen"},
         nullptr,
         "first exam-\nple of a",
         2},
        {"upper case across a line break",
         {"Solemn vows were", "made at dawn"},
         nullptr,
         "SOLEMN VOWS WERE MADE",
         2},
        {"a page turned a quarter",
         {"Turned on its side", "and still found"},
         "90",
         "on its side\nand still",
         2},
        {"a page upside down",
         {"Upside down text", "reads the same"},
         "180",
         "upside down\nreads the",
         2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string pdf = test::makePdfWithPages({test::TestPage(c.lines, 24)});
        if (c.rotate) {
            const std::string box = "/MediaBox [0 0 612 792]";
            pdf.replace(pdf.find(box), box.size(), box + " /Rotate " + c.rotate);
        }
        auto document = openPdf(dir, pdf);
        const PageSize size = *document->pageSize(0);
        const bool turned = c.rotate && std::string(c.rotate) == "90";
        EXPECT_EQ(size.width, turned ? 792 : 612);
        const auto rects = document->locatePassage(0, c.passage);
        ASSERT_EQ(rects.size(), c.rects);
        // Each rectangle covers ink of the page as shown, and stands on it.
        const auto image = document->render(0, 1);
        ASSERT_TRUE(image);
        for (const PageRect& rect : rects) {
            EXPECT_GE(rect.x0, 0);
            EXPECT_GE(rect.y0, 0);
            EXPECT_LE(rect.x1, size.width);
            EXPECT_LE(rect.y1, size.height);
            // A line of a page turned a quarter runs down the page.
            if (turned) {
                EXPECT_GT(rect.y1 - rect.y0, rect.x1 - rect.x0);
            } else {
                EXPECT_GT(rect.x1 - rect.x0, rect.y1 - rect.y0);
            }
            int ink = 0;
            for (int y = int(rect.y0); y < int(rect.y1); ++y) {
                for (int x = int(rect.x0); x < int(rect.x1); ++x) {
                    ink += image->pixels[(size_t(y) * size_t(image->width) + size_t(x)) * 3] < 128;
                }
            }
            EXPECT_GT(ink, 20);
        }
    }
}
