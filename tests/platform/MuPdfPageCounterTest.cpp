#include <gtest/gtest.h>

#include <filesystem>

#include "platform/MuPdfPageCounter.h"
#include "support/TempDir.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using test::TempDir;

TEST(MuPdfPageCounter, CountsThePagesOfWellFormedFiles) {
    TempDir dir;
    MuPdfPageCounter counter;
    for (int pages : {1, 2, 7, 40}) {
        const auto path = dir / ("doc" + std::to_string(pages) + ".pdf");
        test::writePdf(path, pages);
        EXPECT_EQ(counter.pageCount(path), pages) << pages;
    }
}

TEST(MuPdfPageCounter, CountsTheDemoDocument) {
    MuPdfPageCounter counter;
    const auto pages = counter.pageCount(test::resourceDir() + "/Bitcoin Whitepaper.pdf");
    ASSERT_TRUE(pages);
    EXPECT_GE(*pages, 3);
    EXPECT_LE(*pages, 5);
}

TEST(MuPdfPageCounter, GivesNothingForWhatIsNotAReadablePdf) {
    TempDir dir;
    struct Case {
        const char* name;
        std::string bytes;
    };
    const Case cases[] = {
        {"empty", ""},
        {"text", "Just some words, nothing like a document.\n"},
        {"header only", "%PDF-1.7\n"},
        {"no pages", "%PDF-1.4\n1 0 obj << /Type /Catalog >> endobj\ntrailer << /Root 1 0 R >>\n"},
        {"binary noise", std::string("\x00\xff\x13\x37%PDF\x80\x81", 10)},
    };
    MuPdfPageCounter counter;
    for (const auto& c : cases) {
        const auto path = dir / (std::string(c.name) + ".pdf");
        test::writeFile(path, c.bytes);
        EXPECT_EQ(counter.pageCount(path), std::nullopt) << c.name;
    }
    EXPECT_EQ(counter.pageCount(dir / "missing.pdf"), std::nullopt);
    EXPECT_EQ(counter.pageCount(dir.path().string()), std::nullopt) << "a directory";
}

TEST(MuPdfPageCounter, SurvivesEveryTruncationOfAValidFile) {
    // Whatever MuPDF makes of a cut file, it must answer, and never with more
    // pages than the whole file has.
    TempDir dir;
    const std::string pdf = test::makePdf({"one", "two", "three"});
    MuPdfPageCounter counter;
    for (size_t size = 0; size < pdf.size(); size += 17) {
        const auto path = dir / "cut.pdf";
        test::writeFile(path, pdf.substr(0, size));
        const auto pages = counter.pageCount(path);
        if (pages) {
            EXPECT_LE(*pages, 3) << size;
        }
    }
}

}  // namespace
}  // namespace folvane
