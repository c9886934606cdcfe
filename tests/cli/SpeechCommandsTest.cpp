// folvane-cli transcribe and speak, run as a program by a new user with no key.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/CliUser.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class SpeechCommandsTest : public test::CliUser {};

TEST_F(SpeechCommandsTest, OnDeviceTranscriptionPrintsTheWordsWithNoKey) {
    if (std::system("command -v flite >/dev/null 2>&1") != 0) GTEST_SKIP() << "no flite";
    const std::string clip = home / "clip.wav";
    ASSERT_EQ(std::system(("flite -voice slt -t \"open the pod bay doors\" -o " + clip).c_str()),
              0);
    const auto result = cli({"transcribe", clip, "--on-device"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "open the pod bay doors\n");
}

TEST_F(SpeechCommandsTest, FailuresAreWordedOnStandardError) {
    const std::string m4a = home / "speech.m4a";
    test::writeFile(m4a, "not really sound");
    struct Case {
        std::vector<std::string> args;
        int exitCode;
        std::string words;
    };
    const std::vector<Case> cases = {
        {{"transcribe"}, 2, "transcribe needs an audio file"},
        {{"transcribe", m4a}, 1, "You haven't configured OpenAI API key yet"},
        {{"transcribe", m4a, "--on-device"}, 1, "speech.m4a is not a WAV file."},
        {{"transcribe", home / "absent.wav"}, 1, "No file at "},
        {{"speak"}, 2, "speak needs a message id"},
        {{"speak", "999"}, 1, "No message has the id 999."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.back());
        const auto result = cli(c.args);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_THAT(result.err, HasSubstr(c.words));
        EXPECT_EQ(result.out, "");
    }
}

}  // namespace
}  // namespace folvane
