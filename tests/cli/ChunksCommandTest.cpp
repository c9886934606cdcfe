#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/CliUser.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

class ChunksCommandTest : public test::CliUser {
  protected:
    // Page 1 is short; page 2 has 60 lines of 12 words, over 700 tokens.
    std::string writeTwoPagePdf() {
        std::vector<std::string> longPage;
        for (int i = 0; i < 60; ++i) {
            longPage.push_back("Line " + std::to_string(i) +
                               " says the same eleven words over and over again here.");
        }
        const std::string path = home / "doc.pdf";
        test::writeFile(path, test::makePdfWithPages({test::TestPage({"First page.", "Short."}),
                                                      test::TestPage(longPage)}));
        return path;
    }
};

TEST_F(ChunksCommandTest, PrintsEachChunkAsAJsonLine) {
    const test::CliResult result = cli({"chunks", writeTwoPagePdf(), "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;

    const auto rows = jsonLines(result.out);
    ASSERT_EQ(rows.size(), 3u) << result.out;
    EXPECT_EQ(rows[0]["page"], 1);
    EXPECT_EQ(rows[1]["page"], 2);
    EXPECT_EQ(rows[2]["page"], 2);
    EXPECT_EQ(rows[0]["text"].get<std::string>().find("First page."), 0u);
    // The long page is cut at line ends, each chunk keeping its last one.
    for (size_t i = 1; i < rows.size(); ++i) {
        const auto text = rows[i]["text"].get<std::string>();
        EXPECT_EQ(text.back(), '\n');
        EXPECT_GT(rows[i]["tokens"].get<int>(), 100);
        EXPECT_LE(rows[i]["tokens"].get<int>(), 510);
    }
    EXPECT_EQ(rows[0].begin().key(), "page");
}

TEST_F(ChunksCommandTest, PrintsTextWithAHeaderPerChunk) {
    const test::CliResult result = cli({"chunks", writeTwoPagePdf()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.find("== chunk 1, page 1, "), 0u) << result.out;
    EXPECT_NE(result.out.find("== chunk 3, page 2, "), std::string::npos);
}

TEST_F(ChunksCommandTest, FailsOnBadArguments) {
    EXPECT_EQ(cli({"chunks"}).exitCode, 2);
}

}  // namespace
}  // namespace folvane
