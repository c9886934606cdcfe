// The viewer's commands, run as the built program: find and render.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stb/stb_image.h>

#include <nlohmann/json.hpp>

#include "support/CliUser.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class ViewerCommandsTest : public test::CliUser {
  protected:
    std::string pdf = home / "doc.pdf";

    void SetUp() override {
        test::writeFile(pdf,
                        test::makePdfWithPages(
                            {test::TestPage({"Nothing here"}),
                             test::TestPage({"A cited passage that runs", "over two lines"}, 20)}));
    }
};

TEST_F(ViewerCommandsTest, FindPrintsEachMatchWithItsPageAndOneRectangleALine) {
    const auto result = cli({"find", pdf, "RUNS OVER", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const auto row = nlohmann::json::parse(result.out);
    EXPECT_EQ(row["page"], 2);
    EXPECT_EQ(row["label"], "2");
    ASSERT_EQ(row["rects"].size(), 2u);
    EXPECT_LT(row["rects"][0][1].get<double>(), row["rects"][1][1].get<double>());

    const auto none = cli({"find", pdf, "elephant"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_THAT(none.err, HasSubstr("No match for “elephant”."));
}

TEST_F(ViewerCommandsTest, RenderDrawsThePageWithThePassageInYellow) {
    const std::string png = home / "page.png";
    const auto result = cli(
        {"render", pdf, "2", "-o", png, "--zoom", "2", "--highlight", "cited passage\nover two"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("2 lines highlighted"));
    int width = 0, height = 0, channels = 0;
    unsigned char* pixels = stbi_load(png.c_str(), &width, &height, &channels, 3);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(width, 1224);
    EXPECT_EQ(height, 1584);
    // Highlighted paper is yellow: full red and green, little blue.
    int yellow = 0;
    for (int i = 0; i < width * height; ++i) {
        const unsigned char* p = pixels + i * 3;
        if (p[0] > 200 && p[1] > 200 && p[2] < 100) ++yellow;
    }
    stbi_image_free(pixels);
    EXPECT_GT(yellow, 1000);

    struct Case {
        std::vector<std::string> args;
        const char* words;
    };
    const Case refused[] = {
        {{"render", pdf, "3", "-o", png}, "the document has 2 pages"},
        {{"render", pdf, "1", "-o", png, "--zoom", "50"}, "the zoom must be between 0.3 and 10"},
        {{"render", pdf, "1"}, "render needs -o FILE.png"},
        {{"render", home / "missing.pdf", "1", "-o", png}, "cannot be found"},
    };
    for (const Case& c : refused) {
        const auto failed = cli(c.args);
        EXPECT_NE(failed.exitCode, 0) << c.words;
        EXPECT_THAT(failed.err, HasSubstr(c.words));
    }
}

}  // namespace
}  // namespace folvane
