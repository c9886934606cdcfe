#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "platform/PocketsphinxRecognizer.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using test::TempDir;

// A WAV header and these samples' bytes (silence).
std::string wav(int rate, int channels, int bits, size_t samples) {
    auto le = [](uint32_t value, int bytes) {
        std::string out;
        for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
        return out;
    };
    const uint32_t dataSize = static_cast<uint32_t>(samples * channels * bits / 8);
    return "RIFF" + le(36 + dataSize, 4) + "WAVE" + "fmt " + le(16, 4) + le(1, 2) +
           le(channels, 2) + le(rate, 4) + le(rate * channels * bits / 8, 4) +
           le(channels * bits / 8, 2) + le(bits, 2) + "data" + le(dataSize, 4) +
           std::string(dataSize, '\0');
}

bool haveFlite() {
    return std::system("command -v flite >/dev/null 2>&1") == 0;
}

TEST(PocketsphinxRecognizerTest, HearsTheWordsOfASpokenClip) {
    if (!haveFlite()) GTEST_SKIP() << "flite is not installed";
    TempDir dir;
    const std::string clip = dir / "clip.wav";
    ASSERT_EQ(std::system(("flite -voice slt -t \"open the pod bay doors\" -o " + clip).c_str()),
              0);
    PocketsphinxRecognizer recognizer;
    EXPECT_EQ(recognizer.recognize(clip), "open the pod bay doors");
    // The model is kept: a second clip on the same object works too.
    const std::string second = dir / "second.wav";
    ASSERT_EQ(std::system(("flite -voice slt -t \"send the message now\" -o " + second).c_str()),
              0);
    const std::string heard = recognizer.recognize(second);
    EXPECT_EQ(heard.rfind("send ", 0), 0u) << heard;
    EXPECT_NE(heard.find(" message now"), std::string::npos) << heard;
}

TEST(PocketsphinxRecognizerTest, RefusesWhatItCannotReadInPlainWords) {
    TempDir dir;
    struct Case {
        std::string name;
        std::string bytes;
        std::string words;
    };
    const std::vector<Case> cases = {
        {"cd.wav", wav(44100, 2, 16, 100),
         "cd.wav is 16-bit, 2 channel(s) at 44100 Hz; on-device transcription needs 16-bit PCM, "
         "mono, at 16000 Hz."},
        {"eight.wav", wav(16000, 1, 8, 100), "eight.wav is 8-bit"},
        {"speech.m4a",
         std::string("\0\0\0\x18"
                     "ftypM4A ",
                     12),
         "speech.m4a is not a WAV file."},
    };
    PocketsphinxRecognizer recognizer;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        test::writeFile(dir.path() / c.name, c.bytes);
        try {
            recognizer.recognize(dir.path() / c.name);
            ADD_FAILURE() << "no error";
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()).rfind(c.words, 0), 0u) << error.what();
        }
    }
    EXPECT_THROW(recognizer.recognize(dir.path() / "absent.wav"), std::runtime_error);
}

TEST(PocketsphinxRecognizerTest, SilenceGivesNoWordsAndAMissingModelSaysWhatToInstall) {
    TempDir dir;
    test::writeFile(dir.path() / "quiet.wav", wav(16000, 1, 16, 16000));
    EXPECT_EQ(PocketsphinxRecognizer().recognize(dir.path() / "quiet.wav"), "");
    try {
        PocketsphinxRecognizer(dir.path()).recognize(dir.path() / "quiet.wav");
        ADD_FAILURE() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("install pocketsphinx-en-us"), std::string::npos);
    }
}

}  // namespace
}  // namespace folvane
