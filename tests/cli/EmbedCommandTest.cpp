#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/CliRunner.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

class EmbedCommandTest : public ::testing::Test {
  protected:
    test::TempDir home;

    test::CliResult cli(const std::vector<std::string>& args) {
        return test::runCli(args, {{"HOME", home.path().string()},
                                   {"XDG_DATA_HOME", home / "data"},
                                   {"XDG_CONFIG_HOME", home / "config"},
                                   {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (home / "no-bus")}});
    }

    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> out;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) out.push_back(line);
        return out;
    }
};

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
