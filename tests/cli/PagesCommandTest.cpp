// The pages command, run as the built program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/CliUser.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class PagesCommandTest : public test::CliUser {};

TEST_F(PagesCommandTest, PrintsEachPageDocumentWithItsNumberAndHowItWasRead) {
    const std::string longText = "A page whose text layer is long enough to be used.";
    const std::string path = home / "doc.pdf";
    test::writeFile(path, test::makePdfWithPages({test::TestPage({longText}), test::TestPage(),
                                                  test::TestPage({"Hello"}, 48)}));

    auto result = cli({"pages", path, "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    auto rows = jsonLines(result.out);
    ASSERT_EQ(rows.size(), 2u) << result.out;
    EXPECT_EQ(rows[0], nlohmann::json({{"page", 1}, {"ocr", false}, {"text", longText}}));
    EXPECT_EQ(rows[1], nlohmann::json({{"page", 3}, {"ocr", true}, {"text", "Hello"}}));

    result = cli({"pages", "--force-ocr", path, "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    rows = jsonLines(result.out);
    ASSERT_EQ(rows.size(), 3u) << "the blank page is read too, and yields an empty text";
    for (const auto& row : rows) EXPECT_TRUE(row["ocr"].get<bool>()) << row;
    EXPECT_EQ(rows[1]["text"], "");

    result = cli({"pages", path});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("== page 1 (text layer)\n" + longText + "\n"));
    EXPECT_THAT(result.out, HasSubstr("== page 3 (OCR)\nHello\n"));
}

TEST_F(PagesCommandTest, SaysWhyAFileGivesNoTextOrOnlyPartOfIt) {
    const std::string valid = test::makePdf({"The first page has words enough to count."});
    const std::string threePages =
        test::makePdf({"one page of words to read here", "two pages of words to read here",
                       "three pages of words to read here"});
    const struct {
        const char* name;
        std::string bytes;
        int exitCode;
        const char* words;
    } cases[] = {
        {"notes.pdf", "plain words", 1, "“notes.pdf” is not a PDF document."},
        {"locked.pdf", test::encryptPdf(valid, "user", "owner"), 1, "“locked.pdf” is encrypted"},
        {"none.pdf", test::makePdfWithPages({}), 1, "“none.pdf” has no pages"},
        {"cut.pdf", threePages.substr(0, threePages.size() / 3), 1,
         "“cut.pdf” has no text that could be read: the file may be cut short or damaged."},
        {"tail.pdf", threePages.substr(0, threePages.rfind("xref")), 0,
         "“tail.pdf” is damaged or cut short: some of its pages or text may be missing."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        test::writeFile(home / c.name, c.bytes);
        for (const char* command : {"pages", "chunks"}) {
            const auto result = cli({command, home / c.name});
            EXPECT_EQ(result.exitCode, c.exitCode) << command;
            EXPECT_THAT(result.err, HasSubstr(c.words)) << command;
        }
    }
    const auto missing = cli({"pages", home / "missing.pdf"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("“missing.pdf” cannot be found"));
    EXPECT_EQ(cli({"pages"}).exitCode, 2);
    EXPECT_EQ(cli({"pages", home / "notes.pdf", "extra"}).exitCode, 2);
}

}  // namespace
}  // namespace folvane
