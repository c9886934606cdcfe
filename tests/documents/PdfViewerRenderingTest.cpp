// Drawing pages off the document's lock: whole pages and tiles on several
// threads at once, and renders that are no longer wanted.

#include <gtest/gtest.h>

#include <thread>

#include "documents/ViewerPdf.h"

using namespace folvane;

namespace {

using test::openPdf;

// Each page shows its own words, so that two pages never draw alike.
std::vector<test::TestPage> distinctPages(int count) {
    std::vector<test::TestPage> pages;
    for (int i = 0; i < count; ++i) {
        pages.push_back(test::TestPage(
            {"Page number " + std::to_string(i + 1), std::string(static_cast<size_t>(i + 1), 'W')},
            18 + i));
    }
    return pages;
}

// The pixels of tile cut out of a whole page's image.
std::vector<uint8_t> crop(const RgbImage& image, const PixelRect& tile) {
    std::vector<uint8_t> out;
    for (int y = tile.y0; y < std::min(tile.y1, image.height); ++y) {
        const auto row = image.pixels.begin() + (static_cast<ptrdiff_t>(y) * image.width) * 3;
        out.insert(out.end(), row + tile.x0 * 3, row + std::min(tile.x1, image.width) * 3);
    }
    return out;
}

}  // namespace

TEST(PdfViewerRendering, ThreadsDrawDifferentPagesAtOnceAsOneThreadDrawsThem) {
    test::TempDir dir;
    constexpr int pages = 6;
    auto document = openPdf(dir, test::makePdfWithPages(distinctPages(pages)));
    // More pages than the cache keeps would also do; these are drawn twice
    // each, from the cache the second time.
    std::vector<RgbImage> alone;
    for (int i = 0; i < pages; ++i) alone.push_back(*document->render(i, 1.5));

    std::vector<std::optional<RgbImage>> together(static_cast<size_t>(pages) * 2);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < together.size(); ++t) {
        threads.emplace_back([&, t] {
            const int index = static_cast<int>(t) % pages;
            together[t] = t % 2 ? document->render(index, 1.5)
                                : document->renderTile(index, 1.5, {0, 0, 918, 1188});
        });
    }
    for (auto& thread : threads) thread.join();
    for (size_t t = 0; t < together.size(); ++t) {
        SCOPED_TRACE(t);
        ASSERT_TRUE(together[t]);
        const RgbImage& expected = alone[t % pages];
        EXPECT_EQ(together[t]->width, expected.width);
        EXPECT_EQ(together[t]->height, expected.height);
        EXPECT_TRUE(together[t]->pixels == expected.pixels);
    }
    EXPECT_FALSE(alone[0].pixels == alone[1].pixels);
}

TEST(PdfViewerRendering, ATileIsThatPartOfThePageCutToItsEdges) {
    test::TempDir dir;
    auto document = openPdf(dir, test::makePdfWithPages({test::TestPage({"Tiles of text"}, 40)}));
    const RgbImage page = *document->render(0, 2);  // 1224 x 1584
    struct Case {
        const char* name;
        PixelRect tile;
        int width, height;
    };
    const Case cases[] = {
        {"the top left corner", {0, 0, 256, 256}, 256, 256},
        {"inside, over the text", {60, 100, 700, 260}, 640, 160},
        {"over the right and bottom edges", {1100, 1500, 1400, 1700}, 124, 84},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto tile = document->renderTile(0, 2, c.tile);
        ASSERT_TRUE(tile);
        EXPECT_EQ(tile->width, c.width);
        EXPECT_EQ(tile->height, c.height);
        EXPECT_TRUE(tile->pixels == crop(page, c.tile));
    }
    EXPECT_FALSE(document->renderTile(0, 2, {1300, 0, 1400, 100})) << "beyond the page";
    EXPECT_FALSE(document->renderTile(0, 2, {10, 10, 10, 50})) << "empty";
    EXPECT_FALSE(document->renderTile(0, 10, {0, 0, 6120, 7920})) << "over the pixel bound";
    EXPECT_FALSE(document->renderTile(1, 2, {0, 0, 10, 10})) << "no such page";
}

TEST(PdfViewerRendering, PagePixelsAreTheSizeThatRendersAndTilesGive) {
    test::TempDir dir;
    test::TestPage odd({"An odd size"});
    odd.mediaBox = "0 0 419.53 595.28";
    auto document = openPdf(dir, test::makePdfWithPages({odd}));
    for (const double zoom : {0.3, 1.0, 1.37, 2.5, 3.141}) {
        SCOPED_TRACE(zoom);
        const PixelRect pixels = document->pagePixels(0, zoom);
        const auto page = document->render(0, zoom);
        ASSERT_TRUE(page);
        EXPECT_EQ(pixels.x1, page->width);
        EXPECT_EQ(pixels.y1, page->height);
        // The last tile of a grid of 256 ends where the page does.
        const int x = pixels.x1 / 256 * 256, y = pixels.y1 / 256 * 256;
        const auto corner = document->renderTile(0, zoom, {x, y, x + 256, y + 256});
        if (x < pixels.x1 && y < pixels.y1) {
            ASSERT_TRUE(corner);
            EXPECT_EQ(corner->width, pixels.x1 - x);
            EXPECT_EQ(corner->height, pixels.y1 - y);
        }
    }
    EXPECT_EQ(document->pagePixels(1, 1), PixelRect{});
}

TEST(PdfViewerRendering, ACancelledRenderGivesNothingAndTheNextOneDraws) {
    test::TempDir dir;
    auto document = openPdf(dir, test::makePdfWithPages(distinctPages(2)));
    RenderCancel cancel;
    cancel.cancel();
    EXPECT_TRUE(cancel.cancelled());
    EXPECT_FALSE(document->render(0, 1, &cancel));
    EXPECT_FALSE(document->renderTile(1, 1, {0, 0, 100, 100}, &cancel));

    // Cancelled from another thread while threads draw: every render either
    // finished whole or gave nothing.
    RenderCancel shared;
    std::vector<std::optional<RgbImage>> drawn(8);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < drawn.size(); ++t) {
        threads.emplace_back([&, t] { drawn[t] = document->render(int(t % 2), 4, &shared); });
    }
    shared.cancel();
    for (auto& thread : threads) thread.join();
    for (const auto& image : drawn) {
        if (image) {
            EXPECT_EQ(image->pixels.size(), size_t{2448} * 3168 * 3);
        }
    }
    RenderCancel fresh;
    EXPECT_TRUE(document->render(0, 1, &fresh));
}
