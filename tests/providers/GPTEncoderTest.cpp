#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <thread>

#include "providers/GPTEncoder.h"
#include "support/CliUser.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Text the independent tokenizers must agree with us on, id for id.
const std::vector<std::string>& corpus() {
    static const std::vector<std::string> texts = {
        "",
        "a",
        "Hello, world!",
        "The quick brown fox jumps over the lazy dog.",
        "It's, isn't, we're, they've, I'm, you'll, he'd; IT'S, 'tis and rock 'n' roll.",
        "Numbers: 0 7 42 3.14159 1,000,000 2024-03-01 0x1F 1e-9 ½ ² ٣٤٥ 一二三",
        "   leading blanks, trailing blanks   ",
        "lines\nwith\n\nblank\n\n\nlines\r\nand CRLF\r\n\ttabs\t\tand\t \n mixed  \n",
        "    indented\n        deeper\n",
        "Español: ¿Dónde está la biblioteca? Ñandú, pingüino, acción.",
        "Français : « Ça va ? » — l'été, où, Noël, cœur, naïve.",
        "Deutsch: Größe, Straße, Übermäßig, Fußgängerübergänge.",
        "Русский: Съешь же ещё этих мягких французских булок, да выпей чаю.",
        "Ελληνικά: Ξεσκεπάζω την ψυχοφθόρα βδελυγμία.",
        "中文：我能吞下玻璃而不伤身体。日本語：私はガラスを食べられます。",
        "한국어: 나는 유리를 먹을 수 있어요. ภาษาไทย: ฉันกินกระจกได้",
        "עברית: אני יכול לאכול זכוכית. العربية: أنا قادر على أكل الزجاج.",
        "हिन्दी: मैं काँच खा सकता हूँ। বাংলা: আমি কাঁচ খেতে পারি।",
        "Emoji: 😀😃😄 👍🏽 👨‍👩‍👧‍👦 🇫🇷 ❤️ ✨🚀 and 🤖!",
        "Zero\u200bwidth, non\u00a0breaking, thin\u2009space, ideographic\u3000space.",
        "Rare blanks: a\u0085\u0085b \ufeff c\v\vd \u2028 e\u00a0\u00a0 f\u180e\u180eg\f\f",
        "int main(int argc, char** argv) {\n    for (int i = 0; i < argc; ++i) {\n"
        "        std::cout << argv[i] << '\\n';\n    }\n    return 0;\n}\n",
        "def f(x):\n    return {'a': [1, 2, 3], \"b\": (x ** 2) // 3}  # comment\n",
        "<html><body class=\"x\">&amp; &lt;tag&gt; <|endoftext|></body></html>",
        "Pneumonoultramicroscopicsilicovolcanoconiosis "
        "Donaudampfschifffahrtselektrizitätenhauptbetriebswerkbauunterbeamtengesellschaft",
        "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
        "!!!???...---___===+++***&&&^^^%%%$$$###@@@~~~```|||\\\\\\///",
        "mIxEd CaSe WoRdS and URLs: https://example.com/path?q=1&r=two#frag",
        "email: someone@example.org, phone: +1 (555) 010-9999.",
        "end with blanks   ",
        "\n",
        "  \n  \n",
        " ",
        "x y  z   w    v",
        "'s's 't 're've'm'll'd '' '",
        "Math: ∀x∈ℝ, ∃y: x²+y²≤1 → ∑ᵢ aᵢ ≠ ∞; α β γ δ ε",
    };
    return texts;
}

std::string quote(const std::string& text) {
    return "'" + text + "'";
}

// The ids of the pinned npm tokenizer for every corpus text.
std::vector<std::vector<int>> referenceIds(const std::string& tokenizer) {
    test::TempDir dir;
    std::string command =
        "node " + quote(std::string(FOLVANE_TEST_SOURCE_DIR) + "/scripts/gpt2-reference.mjs") +
        " --tokenizer " + tokenizer;
    for (size_t i = 0; i < corpus().size(); ++i) {
        const auto path = dir / ("text-" + std::to_string(i) + ".txt");
        test::writeFile(path, corpus()[i]);
        command += " " + quote(path);
    }
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) throw std::runtime_error("cannot run node");
    std::string output;
    char buffer[4096];
    while (size_t read = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, read);
    if (::pclose(pipe) != 0) throw std::runtime_error("node failed: " + output);
    return nlohmann::json::parse(output).get<std::vector<std::vector<int>>>();
}

const GPTEncoder& sharedEncoder() {
    static const GPTEncoder encoder{std::filesystem::path(test::resourceDir())};
    return encoder;
}

class ReferenceTokenizerTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ReferenceTokenizerTest, IdsEqualTheIndependentTokenizer) {
    const auto expected = referenceIds(GetParam());
    ASSERT_EQ(expected.size(), corpus().size());
    for (size_t i = 0; i < corpus().size(); ++i) {
        EXPECT_EQ(sharedEncoder().encode(corpus()[i]), expected[i]) << "text: " << corpus()[i];
        EXPECT_EQ(sharedEncoder().count(corpus()[i]), expected[i].size());
    }
}

INSTANTIATE_TEST_SUITE_P(Npm, ReferenceTokenizerTest,
                         ::testing::Values("js-tiktoken", "gpt-3-encoder"),
                         [](const auto& instance) {
                             return instance.param == "js-tiktoken" ? "JsTiktoken" : "Gpt3Encoder";
                         });

TEST(GPTEncoderTest, DecodingTheIdsGivesTheTextBack) {
    for (const auto& text : corpus()) {
        EXPECT_EQ(sharedEncoder().decode(sharedEncoder().encode(text)), text);
    }
    EXPECT_EQ(sharedEncoder().decode({15496, 995, 999999, -1}), "Hello world");
}

TEST(GPTEncoderTest, TextThatIsNotUtf8CountsAsReplacementCharacters) {
    EXPECT_EQ(sharedEncoder().encode("a\xff b\xc3"), sharedEncoder().encode("a\uFFFD b\uFFFD"));
}

TEST(GPTEncoderTest, BlanksBeforeAWordLeaveTheLastBlankToTheWord) {
    EXPECT_THAT(sharedEncoder().pieces("a    word"), ElementsAre("a", "   ", " word"));
    EXPECT_THAT(sharedEncoder().pieces("tail  \n"), ElementsAre("tail", "  \n"));
    EXPECT_THAT(sharedEncoder().pieces("it's 42!?"), ElementsAre("it", "'s", " 42", "!?"));
    EXPECT_THAT(sharedEncoder().pieces(""), IsEmpty());
}

TEST(GPTEncoderTest, ASingleByteNeedsNoRanks) {
    const GPTEncoder encoder{std::filesystem::path(test::resourceDir())};
    EXPECT_THAT(encoder.encode("a,b"), ElementsAre(64, 11, 65));
    EXPECT_EQ(encoder.bpe(" "), "\u0120");
    EXPECT_FALSE(encoder.ranksAreBuilt());
    EXPECT_EQ(encoder.bpe(" Hello"), "\u0120Hello");
    EXPECT_TRUE(encoder.ranksAreBuilt());
}

TEST(GPTEncoderTest, TheMergeListSkipsTheVersionLineAndEmptyLines) {
    const GPTEncoder encoder(GPTEncoder::Sources{"#version: 0.2\na b\n\n  ab  c \r\nx\n", "{}"});
    EXPECT_EQ(encoder.bpeMerges(),
              (std::vector<std::vector<std::string>>{{"a", "b"}, {"ab", "c"}, {"x"}}));
    const auto& published = sharedEncoder().bpeMerges();
    ASSERT_EQ(published.size(), 50000u);
    EXPECT_EQ(published.front(), (std::vector<std::string>{"\u0120", "t"}));
}

TEST(GPTEncoderTest, MergesGoByRankAndTakeEveryOccurrenceFromTheLeft) {
    const GPTEncoder encoder(GPTEncoder::Sources{
        "#version\nb c\na a\naa a\nx y\n", R"({"a": 1, "aa": 2, "aaa": 3, "bc": 4, "b": 5})"});
    EXPECT_EQ(encoder.bpe("aaaa"), "aa aa");
    EXPECT_EQ(encoder.bpe("aaa"), "aaa");
    EXPECT_EQ(encoder.bpe("abc"), "a bc");
    EXPECT_EQ(encoder.bpe("zz"), "z z");
    // Symbols that the vocabulary lacks ("z", "c") are left out.
    EXPECT_THAT(encoder.encode("aaaaa"), ElementsAre(2, 3));
    EXPECT_THAT(encoder.encode("abcz"), ElementsAre(1, 4));
    EXPECT_THAT(encoder.encode("zzz c"), IsEmpty());
}

TEST(GPTEncoderTest, MissingOrBrokenFilesGiveNoIdsAndNoError) {
    test::TempDir empty;
    const GPTEncoder missing{empty.path()};
    EXPECT_THAT(missing.encode("Hello world"), IsEmpty());
    EXPECT_EQ(missing.decode({15496}), "");

    for (const char* json : {"{not json", R"([{"H": 39}])", R"({"H": 39)", "39"}) {
        const GPTEncoder broken(GPTEncoder::Sources{"#version\nH e\n", json});
        EXPECT_THAT(broken.encode("Hello world"), IsEmpty()) << json;
    }
    // Members that are not integers are passed over.
    const GPTEncoder mixed(GPTEncoder::Sources{
        "#version\n", R"({"H": 1.5, "x": {"H": 7}, "y": [8], "e": "9", "o": 4})"});
    EXPECT_THAT(mixed.encode("Hello"), ElementsAre(4));
}

TEST(GPTEncoderTest, ManyThreadsEncodingAtOnceGetTheSameIds) {
    const GPTEncoder fresh{std::filesystem::path(test::resourceDir())};
    std::vector<std::vector<int>> expected;
    for (const auto& text : corpus()) expected.push_back(sharedEncoder().encode(text));

    std::atomic<int> mismatches = 0;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&, t] {
                // Each thread walks the corpus from a different place.
                for (size_t step = 0; step < 20 * corpus().size(); ++step) {
                    const size_t index = (step + t * 5) % corpus().size();
                    if (fresh.encode(corpus()[index]) != expected[index]) ++mismatches;
                }
            });
        }
    }
    EXPECT_EQ(mismatches, 0);
}

// The command line prints what the encoder gives.
class TokensCommandTest : public test::CliUser {};

TEST_F(TokensCommandTest, CountsAFileOrStandardInputAndPrintsIds) {
    const std::string text = corpus()[20];
    const auto ids = sharedEncoder().encode(text);
    const std::string path = home / "code.txt";
    test::writeFile(path, text);

    auto result = cli({"tokens", path});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, std::to_string(ids.size()) + "\n");

    result = cli({"tokens", "--ids", "-"}, text);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::string expected;
    for (int id : ids) expected += (expected.empty() ? "" : " ") + std::to_string(id);
    EXPECT_EQ(result.out, expected + "\n");

    result = cli({"tokens"}, "");
    EXPECT_EQ(result.out, "0\n");
    result = cli({"tokens", "--ids"}, "");
    EXPECT_EQ(result.out, "\n");
}

TEST_F(TokensCommandTest, BadArgumentsFailWithAClearMessage) {
    struct Case {
        std::vector<std::string> args;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"tokens", home / "absent.txt"}, "No such file: " + (home / "absent.txt")},
        {{"tokens", home.path().string()}, "Is a directory"},
        {{"tokens", "--bogus"}, "Unknown option: --bogus"},
        {{"tokens", "a.txt", "b.txt"}, "Unexpected argument: b.txt"},
    };
    for (const auto& c : cases) {
        const auto result = cli(c.args);
        EXPECT_NE(result.exitCode, 0);
        EXPECT_THAT(result.err, HasSubstr(c.message));
        EXPECT_EQ(result.out, "");
    }
}

}  // namespace
}  // namespace folvane
