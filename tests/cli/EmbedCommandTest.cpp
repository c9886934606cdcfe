#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "support/CliUser.h"

namespace folvane {
namespace {

class EmbedCommandTest : public test::CliUser {};

TEST_F(EmbedCommandTest, PrintsTheModelTheDimensionAndTheFirstValues) {
    const auto result = cli({"embed", "--model", "native", "Where is the invoice total?"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const auto out = lines(result.out);
    ASSERT_EQ(out.size(), 3u) << result.out;
    EXPECT_EQ(out[0], "model: native");
    EXPECT_EQ(out[1], "dimension: 512");
    EXPECT_TRUE(std::regex_match(out[2], std::regex("values:( -?[0-9]\\.[0-9]{6}){8}"))) << out[2];
    // The same text gives the same vector in another process.
    EXPECT_EQ(cli({"embed", "--model", "native", "Where is the invoice total?"}).out, result.out);
}

TEST_F(EmbedCommandTest, WithoutWeightsTheLocalModelIsTheLexicalOne) {
    const auto chosen = cli({"embed", "a blank text"});
    ASSERT_EQ(chosen.exitCode, 0) << chosen.err;
    EXPECT_EQ(lines(chosen.out).at(0), "model: native");

    const auto forced = cli({"embed", "--model", "distilbert", "a blank text"});
    EXPECT_EQ(forced.exitCode, 1);
    EXPECT_EQ(forced.err.rfind("Failed to load the Core ML model. Error: ", 0), 0u) << forced.err;
    EXPECT_EQ(forced.out, "");
}

TEST_F(EmbedCommandTest, BadArguments) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"embed"}, {"embed", "--model", "word2vec", "x"}, {"embed", "one", "two"}}) {
        const auto result = cli(args);
        EXPECT_EQ(result.exitCode, 2) << args.back();
        EXPECT_NE(result.err.find("Run 'folvane-cli help'"), std::string::npos) << result.err;
    }
}

}  // namespace
}  // namespace folvane
