#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "SimilaritySearchKit/BasicTokenizer.h"
#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/NativeTokenizer.h"
#include "SimilaritySearchKit/WordpieceTokenizer.h"
#include "support/LogCapture.h"
#include "support/Repeat.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using Tokens = std::vector<std::string>;

using test::repeat;

// The tokenizer over the vocabulary that the build makes, shared by the tests.
const BertTokenizer& bert() {
    static const BertTokenizer tokenizer(test::resourceDir());
    return tokenizer;
}

const std::vector<std::string> bertSpecials{"[UNK]", "[SEP]", "[PAD]", "[CLS]", "[MASK]"};

struct BasicCase {
    const char* name;
    std::string input;
    Tokens expected;
};

class BasicTokenizerTest : public testing::TestWithParam<BasicCase> {};

TEST_P(BasicTokenizerTest, Tokenizes) {
    const BasicTokenizer tokenizer(bertSpecials);
    EXPECT_EQ(tokenizer.tokenize(GetParam().input), GetParam().expected);
}

const BasicCase basicCases[] = {
    {"AccentsFoldAndCaseLowers", "Café CAFE", {"cafe", "cafe"}},
    {"DecomposedAccent", "Cafe\xCC\x81", {"cafe"}},
    {"PunctuationIsItsOwnToken", "Hello, world!", {"hello", ",", "world", "!"}},
    {"DegreeSignStaysInWord", "25°C", {"25°c"}},
    {"NeverSplitKeepsCase", "a [MASK] b", {"a", "[MASK]", "b"}},
    {"LowerCaseSpecialIsSplit", "[mask]", {"[", "mask", "]"}},
    {"NeverSplitNeedsWholePiece", "x[MASK]", {"x", "[", "mask", "]"}},
    {"LineEndIsAToken", "one\ntwo", {"one", "\n", "two"}},
    {"CrLfIsOneCharacter", "one\r\ntwo", {"one", "\r\n", "two"}},
    {"TabsAndNoBreakSpacesCut", "a\tb\u00a0c\u3000d", {"a", "b", "c", "d"}},
    {"RunsOfSpacesAddNothing", "  a   b  ", {"a", "b"}},
    {"NonLatinLettersAndDigits", "Ελλάδα ٣٤", {"ελλαδα", "٣٤"}},
    {"HangulSurvivesFolding", "한국어", {"한국어"}},
    {"Empty", "", {}},
};

INSTANTIATE_TEST_SUITE_P(Cases, BasicTokenizerTest, testing::ValuesIn(basicCases),
                         [](const auto& test) { return test.param.name; });

TEST(WordpieceTokenizerTest, LongestMatchFromTheLeft) {
    auto vocab = std::make_shared<BertVocabulary>(BertVocabulary{
        {"[UNK]", 0}, {"un", 1}, {"##aff", 2}, {"##able", 3}, {"a", 4}, {"##a", 5}, {"unaff", 6}});
    const WordpieceTokenizer tokenizer(vocab);
    EXPECT_EQ(tokenizer.tokenize("unaffable"), (Tokens{"unaff", "##able"}));
    EXPECT_EQ(tokenizer.tokenize("unable"), (Tokens{"un", "##able"}));
    // One piece that no entry covers discards the pieces found before it.
    EXPECT_EQ(tokenizer.tokenize("unaffx"), (Tokens{"[UNK]"}));
    EXPECT_EQ(tokenizer.tokenize(""), Tokens{});

    // 100 characters are still searched; 101 are unknown outright.
    Tokens hundred{"a"};
    hundred.insert(hundred.end(), 99, "##a");
    EXPECT_EQ(tokenizer.tokenize(repeat("a", 100)), hundred);
    EXPECT_EQ(tokenizer.tokenize(repeat("a", 101)), (Tokens{"[UNK]"}));
}

TEST(WordpieceTokenizerTest, CountsCharactersNotBytes) {
    // "a" with a combining accent is one character of three bytes.
    auto vocab = std::make_shared<BertVocabulary>(
        BertVocabulary{{"[UNK]", 0}, {"a\xCC\x81", 1}, {"##a\xCC\x81", 2}});
    const WordpieceTokenizer tokenizer(vocab, "[UNK]", 3);
    EXPECT_EQ(tokenizer.tokenize(repeat("a\xCC\x81", 3)).size(), 3u);
    EXPECT_EQ(tokenizer.tokenize(repeat("a\xCC\x81", 4)), (Tokens{"[UNK]"}));
}

TEST(BertTokenizerTest, TokenizesWithThePublishedVocabulary) {
    EXPECT_EQ(bert().vocab().size(), 30522u);
    EXPECT_EQ(bert().idsToTokens()[1], "[unused0]");
    EXPECT_EQ(bert().tokenize("Hello, World!"), (Tokens{"hello", ",", "world", "!"}));
    EXPECT_EQ(bert().tokenize("a\nb"), (Tokens{"a", "[UNK]", "b"}));
    EXPECT_EQ(bert().convertTokensToIds({"[PAD]", "[UNK]", "[CLS]", "[SEP]", "hello", "##able"}),
              (std::vector<int>{0, 100, 101, 102, 7592, 3085}));
    EXPECT_THROW(bert().convertTokensToIds({"no-such-token"}), std::invalid_argument);
}

TEST(BertTokenizerTest, Detokenizes) {
    EXPECT_EQ(bert().detokenize({"un", "##aff", "##able", "cat", "!"}), "unaffable cat !");
    EXPECT_EQ(bert().detokenize({"##ab", "c"}), "ab c");
    EXPECT_EQ(bert().detokenize({}), "");
    EXPECT_EQ(bert().detokenize({"##"}), "");
}

TEST(BertTokenizerTest, BuildsModelTokensAndInputs) {
    const std::vector<int32_t> ids = bert().buildModelTokens("Hello, world!");
    ASSERT_EQ(ids.size(), 512u);
    EXPECT_EQ(std::vector<int32_t>(ids.begin(), ids.begin() + 7),
              (std::vector<int32_t>{101, 7592, 1010, 2088, 999, 102, 0}));
    EXPECT_EQ(std::count(ids.begin(), ids.end(), 0), 512 - 6);

    const BertModelInputs inputs = BertTokenizer::buildModelInputs({101, 7592, 102, 0, 0});
    EXPECT_EQ(inputs.inputIds, (std::vector<int32_t>{101, 7592, 102, 0, 0}));
    EXPECT_EQ(inputs.attentionMask, (std::vector<int32_t>{1, 1, 1, 0, 0}));
}

TEST(BertTokenizerTest, TruncatesALongSentenceWithALogLine) {
    test::LogCapture log;
    const std::vector<int32_t> ids = bert().buildModelTokens(repeat("cat ", 600));

    ASSERT_EQ(ids.size(), 512u);
    EXPECT_EQ(ids.front(), 101);
    EXPECT_EQ(ids[510], bert().vocab().at("cat"));
    EXPECT_EQ(ids[511], 102);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"Input sentence is too long 602 > 512, truncating."}));

    // 510 tokens fit exactly, without a log line.
    EXPECT_EQ(bert().buildModelTokens(repeat("cat ", 510))[511], 102);
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(BertTokenizerTest, ReadsIdsFromNonEmptyLinesLastDuplicateWins) {
    test::TempDir dir;
    test::writeFile(dir.path() / BertTokenizer::vocabularyFileName,
                    "[PAD]\n\n[UNK]\n[CLS]\n[SEP]\n[MASK]\ncat\n##s\ncat\n");
    const BertTokenizer tokenizer(dir.path());
    EXPECT_EQ(tokenizer.vocab().at("[UNK]"), 1);
    EXPECT_EQ(tokenizer.vocab().at("cat"), 7);
    EXPECT_EQ(tokenizer.idsToTokens().size(), 8u);
    EXPECT_EQ(tokenizer.idsToTokens()[5], "cat");
    EXPECT_EQ(tokenizer.tokenize("Cats dogs"), (Tokens{"cat", "##s", "[UNK]"}));
}

TEST(BertTokenizerTest, AMissingOrDamagedVocabularyIsReportedByName) {
    test::TempDir dir;
    const std::string path = (dir.path() / BertTokenizer::vocabularyFileName).string();
    auto messageOf = [&] {
        try {
            BertTokenizer tokenizer(dir.path());
        } catch (const BertVocabularyError& error) {
            return std::string(error.what());
        }
        return std::string("no error");
    };
    EXPECT_EQ(messageOf(),
              "The BERT vocabulary " + path + " is missing: the installation is incomplete");
    test::writeFile(path, "[PAD]\n[UNK]\n[SEP]\n[MASK]\ncat\n");
    EXPECT_EQ(messageOf(), "The BERT vocabulary " + path + " is damaged: it lacks the token [CLS]");
    test::writeFile(path, "");
    EXPECT_EQ(messageOf(), "The BERT vocabulary " + path + " is damaged: it lacks the token [UNK]");
}

TEST(NativeTokenizerTest, KeepsWordsAndDropsSpacesAndPunctuation) {
    const NativeTokenizer tokenizer;
    EXPECT_EQ(tokenizer.tokenize("Hello, world! It's 3.5 km."),
              (Tokens{"Hello", "world", "It's", "3.5", "km"}));
    EXPECT_EQ(tokenizer.tokenize("Größe\nüber  Straße"), (Tokens{"Größe", "über", "Straße"}));
    EXPECT_EQ(tokenizer.tokenize(" ... "), Tokens{});
    EXPECT_EQ(tokenizer.detokenize({"a", "b", "c"}), "a b c");
}

}  // namespace
}  // namespace folvane
