#include <gtest/gtest.h>

#include <algorithm>

#include "documents/DocumentError.h"
#include "documents/PdfDocument.h"
#include "platform/FileBookmark.h"
#include "support/TempDir.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using test::TempDir;
using test::TestAnnotation;
using test::TestPage;

std::unique_ptr<PdfDocument> openBytes(const TempDir& dir, const std::string& name,
                                       const std::string& bytes) {
    const auto path = dir / name;
    test::writeFile(path, bytes);
    return PdfDocument::open(path);
}

size_t darkPixels(const PageImage& image) {
    return static_cast<size_t>(
        std::count_if(image.pixels.begin(), image.pixels.end(), [](uint8_t p) { return p < 128; }));
}

TEST(PdfDocument, ReadsTextLayersAnnotationsAndPageNumbers) {
    TempDir dir;
    TestPage first{{"First line of the page", "Second line (with parentheses)"}};
    first.annotations = {{"FreeText", "typed into the form"},
                         {"FreeText", std::nullopt},
                         {"Text", "a sticky note"},
                         {"FreeText", ""}};
    TestPage blank{};
    TestPage third{{"Third page"}};
    auto pdf = openBytes(dir, "doc.pdf", test::makePdfWithPages({first, blank, third}));
    ASSERT_TRUE(pdf);
    ASSERT_EQ(pdf->pageCount(), 3);

    EXPECT_EQ(pdf->pageText(0), "First line of the page\nSecond line (with parentheses)");
    EXPECT_EQ(pdf->pageText(1), std::nullopt) << "a page without characters has no text layer";
    EXPECT_EQ(pdf->pageText(2), "Third page");
    EXPECT_EQ(pdf->pageText(0), pdf->pageText(0)) << "pages can be read again, in any order";

    const auto annotations = pdf->annotations(0);
    ASSERT_EQ(annotations.size(), 4u);
    EXPECT_EQ(annotations[0].type, "FreeText");
    EXPECT_EQ(annotations[0].contents, "typed into the form");
    EXPECT_EQ(annotations[1].contents, std::nullopt);
    EXPECT_EQ(annotations[2].type, "Text");
    EXPECT_EQ(annotations[2].contents, "a sticky note");
    EXPECT_EQ(annotations[3].contents, "");
    EXPECT_TRUE(pdf->annotations(2).empty());

    for (int i = 0; i < 3; ++i) EXPECT_EQ(pdf->pageNumber(i), i + 1);
    for (int outside : {-1, 3, 1000}) {
        EXPECT_FALSE(pdf->hasPage(outside));
        EXPECT_EQ(pdf->pageText(outside), std::nullopt);
        EXPECT_EQ(pdf->pageNumber(outside), std::nullopt);
        EXPECT_TRUE(pdf->annotations(outside).empty());
        EXPECT_EQ(pdf->renderPage(outside, 72), std::nullopt);
    }
}

TEST(PdfDocument, RefusesWhatIsNotAReadablePdfInWordsThatSayWhy) {
    TempDir dir;
    const std::string valid = test::makePdf({"secret words"});
    const struct {
        const char* name;
        std::string bytes;
        const char* words;
    } cases[] = {
        {"empty", "", "is not a PDF document"},
        {"text", "Just some words, nothing like a document.\n", "is not a PDF document"},
        {"noise", std::string("\x00\xff\x13\x37\x80\x81obj", 10), "is not a PDF document"},
        {"headless", valid.substr(9), "is not a PDF document"},
        {"locked", test::encryptPdf(valid, "user", "owner"), "is encrypted"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        try {
            openBytes(dir, std::string(c.name) + ".pdf", c.bytes);
            ADD_FAILURE() << "opened";
        } catch (const DocumentError& error) {
            const std::string expected = "“" + std::string(c.name) + ".pdf” " + c.words;
            EXPECT_EQ(std::string(error.what()).rfind(expected, 0), 0u) << error.what();
        }
        if (std::string(c.words) == "is encrypted") {
            EXPECT_THROW(PdfDocument::checkAdmissible(dir / "locked.pdf"), DocumentError);
        }
    }
    EXPECT_THROW(PdfDocument::open(dir / "missing.pdf"), FileError);
    EXPECT_THROW(PdfDocument::open(dir.path()), FileError) << "a directory";

    auto ownerOnly = openBytes(dir, "owner.pdf", test::encryptPdf(valid, "", "owner"));
    EXPECT_EQ(ownerOnly->pageText(0), "secret words") << "an empty user password opens";
    EXPECT_FALSE(ownerOnly->wasRepaired());

    auto pageless = openBytes(dir, "pageless.pdf", test::makePdfWithPages({}));
    EXPECT_EQ(pageless->pageCount(), 0) << "a document without pages opens";
    EXPECT_FALSE(pageless->hasPage(0));
}

TEST(PdfDocument, SurvivesEveryTruncationOfAFile) {
    TempDir dir;
    TestPage annotated{{"annotated page"}};
    annotated.annotations = {{"FreeText", "form text"}};
    const std::string pdf =
        test::makePdfWithPages({TestPage{{"one"}}, annotated, TestPage{{"three"}}});
    for (size_t cut = 0; cut < pdf.size(); cut += 11) {
        std::unique_ptr<PdfDocument> document;
        try {
            document = openBytes(dir, "cut.pdf", pdf.substr(0, cut));
        } catch (const DocumentError&) {
            continue;
        }
        EXPECT_LE(document->pageCount(), 3) << cut;
        EXPECT_TRUE(document->wasRepaired()) << cut;
        for (int i = 0; i < document->pageCount(); ++i) {
            document->pageText(i);
            document->annotations(i);
            document->pageNumber(i);
            document->renderPage(i, 36);
        }
    }
}

TEST(PdfDocument, RendersTheMediaBoxOnWhite) {
    TempDir dir;
    TestPage text{{"Some dark letters"}, 24};
    TestPage blank{};
    TestPage offset{{"x"}};
    offset.mediaBox = "100 200 400 600";
    auto pdf = openBytes(dir, "render.pdf", test::makePdfWithPages({text, blank, offset}));
    ASSERT_TRUE(pdf);

    const auto atPoints = pdf->renderPage(0, 72);
    ASSERT_TRUE(atPoints);
    EXPECT_EQ(atPoints->width, 612);
    EXPECT_EQ(atPoints->height, 792);
    EXPECT_EQ(atPoints->resolution, 72);
    EXPECT_EQ(atPoints->pixels.size(), 612u * 792u);
    EXPECT_GT(darkPixels(*atPoints), 100u);
    // The text sits near the top left: the image's rows run from the top.
    size_t topDark = 0;
    for (int row = 0; row < 200; ++row) {
        for (int column = 0; column < 612; ++column) {
            topDark += atPoints->pixels[static_cast<size_t>(row) * 612 + column] < 128;
        }
    }
    EXPECT_EQ(topDark, darkPixels(*atPoints));

    const auto fine = pdf->renderPage(0, 300);
    ASSERT_TRUE(fine);
    EXPECT_EQ(fine->width, 2550);
    EXPECT_EQ(fine->height, 3300);
    EXPECT_EQ(fine->resolution, 300);

    const auto white = pdf->renderPage(1, 100);
    ASSERT_TRUE(white);
    EXPECT_EQ(darkPixels(*white), 0u);
    EXPECT_TRUE(std::all_of(white->pixels.begin(), white->pixels.end(),
                            [](uint8_t p) { return p == 255; }));

    const auto moved = pdf->renderPage(2, 72);
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->width, 300);
    EXPECT_EQ(moved->height, 400);

    // A scanned page has no text layer but draws its picture.
    auto scan = openBytes(dir, "scan.pdf", test::makeScannedPdf({{"Scanned words"}}));
    EXPECT_EQ(scan->pageText(0), std::nullopt);
    const auto picture = scan->renderPage(0, 150);
    ASSERT_TRUE(picture);
    EXPECT_GT(darkPixels(*picture), 200u);
}

TEST(PdfDocument, KeepsTheRenderOfAnEnormousPageWithinBounds) {
    TempDir dir;
    TestPage huge{{"huge"}};
    huge.mediaBox = "0 0 14400 14400";
    TestPage ribbon{{"ribbon"}};
    ribbon.mediaBox = "0 0 14400 10";
    TestPage empty{{"no box"}};
    empty.mediaBox = "0 0 0 0";
    auto pdf = openBytes(dir, "huge.pdf", test::makePdfWithPages({huge, ribbon, empty}));
    ASSERT_TRUE(pdf);
    for (int i = 0; i < 2; ++i) {
        const auto image = pdf->renderPage(i, 300);
        ASSERT_TRUE(image) << i;
        EXPECT_LE(image->width, PdfDocument::maxRenderSide) << i;
        EXPECT_LE(image->height, PdfDocument::maxRenderSide) << i;
        EXPECT_LE(static_cast<long long>(image->width) * image->height,
                  PdfDocument::maxRenderPixels)
            << i;
        EXPECT_LT(image->resolution, 300) << i;
    }
    const auto fallback = pdf->renderPage(2, 72);
    ASSERT_TRUE(fallback) << "a page without a usable media box is drawn at letter size";
    EXPECT_EQ(fallback->width, 612);
}

}  // namespace
}  // namespace folvane
