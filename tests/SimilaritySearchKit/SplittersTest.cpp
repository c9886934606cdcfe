#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/CharacterSplitter.h"
#include "SimilaritySearchKit/CustomTokenSplitter.h"
#include "SimilaritySearchKit/RecursiveCharacterSplitter.h"
#include "SimilaritySearchKit/RecursiveTokenSplitter.h"
#include "SimilaritySearchKit/TokenSplitter.h"
#include "support/Repeat.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using Tokens = std::vector<std::string>;
using Chunks = std::vector<std::string>;

using test::repeat;

// Every byte but a space is a token, so a line end costs one token and the
// arithmetic of the budgets is easy to follow.
class ByteTokenizer : public TokenizerProtocol {
  public:
    Tokens tokenize(std::string_view text) const override {
        Tokens tokens;
        for (char c : text) {
            if (c != ' ') tokens.emplace_back(1, c);
        }
        return tokens;
    }
    std::string detokenize(const Tokens& tokens) const override {
        std::string text;
        for (const std::string& token : tokens) text += token;
        return text;
    }
};

std::shared_ptr<const BertTokenizer> bert() {
    static const auto tokenizer = std::make_shared<const BertTokenizer>(test::resourceDir());
    return tokenizer;
}

const auto bytes = std::make_shared<const ByteTokenizer>();

struct RecursiveCase {
    const char* name;
    std::string text;
    int chunkSize;
    Chunks expected;
};

class RecursiveTokenSplitTest : public testing::TestWithParam<RecursiveCase> {};

TEST_P(RecursiveTokenSplitTest, Splits) {
    const RecursiveCase& c = GetParam();
    const TextSplitResult result = RecursiveTokenSplitter(bytes).split(c.text, c.chunkSize, 99);
    EXPECT_EQ(result.chunks, c.expected);
    ASSERT_TRUE(result.tokens.has_value());
    EXPECT_EQ(result.tokens->size(), result.chunks.size());
}

const RecursiveCase recursiveCases[] = {
    // The line end is charged to the chunk and stays at its end.
    {"KeepsTrailingLineEnd", "ab\ncd\nef", 5, {"ab\n", "cd\nef\n"}},
    {"TrimsTrailingSpace", "aa bb cc", 3, {"aa", "bb", "cc"}},
    {"OneChunkEndsInParagraphBreak", "ab\n\ncd", 9, {"ab\n\ncd\n\n"}},
    // A first part of exactly the limit gives an empty chunk ahead of it.
    {"FirstPartAtLimit", "abc", 3, {"", "abc\n\n"}},
    {"NothingDivides", "abcdef", 3, {}},
    {"EmptyText", "", 10, {"\n\n"}},
    // The limit is never above 510 tokens.
    {"LimitCappedAt510", repeat("a", 511), 1000, {}},
    {"SentencesWhenLinesAreTooLong", "aaa.bbb.c", 5, {"aaa.", "bbb.c."}},
};

INSTANTIATE_TEST_SUITE_P(Cases, RecursiveTokenSplitTest, testing::ValuesIn(recursiveCases),
                         [](const auto& test) { return test.param.name; });

TEST(RecursiveTokenSplitTest, ShortParagraphsMakeOneChunkEndingInTheirBreak) {
    const std::string page = "First paragraph here.\n\nSecond one.\n\nThird.";
    const TextSplitResult result = recursiveTokenSplit(*bert(), page, 510);
    EXPECT_EQ(result.chunks, (Chunks{page + "\n\n"}));
}

TEST(RecursiveTokenSplitTest, OneLongParagraphSendsTheWholePageToLineBreaks) {
    // The second paragraph has 60 lines of 10 words: 600 tokens.
    const std::string line = repeat("word ", 9) + "word";
    std::string page = "Short paragraph.\n\n";
    for (int i = 0; i < 60; ++i) page += line + (i < 59 ? "\n" : "");
    const TextSplitResult result = recursiveTokenSplit(*bert(), page, 510);

    ASSERT_EQ(result.chunks.size(), 2u);
    EXPECT_TRUE(result.chunks[0].starts_with("Short paragraph.\n\nword"));
    for (const std::string& chunk : result.chunks) {
        EXPECT_TRUE(chunk.ends_with(line + "\n"));
    }
    for (const Tokens& tokens : *result.tokens) EXPECT_LE(tokens.size(), 510u);
}

TEST(RecursiveTokenSplitTest, ASpaceFreeRunOver510TokensIsLost) {
    const TextSplitResult result = recursiveTokenSplit(*bert(), repeat("a,", 300), 510);
    EXPECT_TRUE(result.chunks.empty());
}

TEST(TokenSplitterTest, CutsEachSpanAfterItsLastSentenceEnd) {
    const TextSplitResult result =
        TokenSplitter(bert()).split("Hello world. This is a test! And more", 5, 0);
    // The cut keeps at most all characters but the last, so the "!" of the
    // second span goes to the next one.
    EXPECT_EQ(result.chunks, (Chunks{"hello world .", "this is a test", "!", "and more"}));
    EXPECT_EQ(result.tokens, (std::vector<Tokens>{{"hello", "world", ".", "this", "is"},
                                                  {"this", "is", "a", "test", "!"},
                                                  {"!", "and", "more"},
                                                  {"and", "more"}}));
}

// Detokenizes every span to a lone line end, which the cut empties.
class LineEndTokenizer : public ByteTokenizer {
  public:
    std::string detokenize(const Tokens&) const override { return "\n"; }
};

// Re-tokenizes every chunk into more tokens than the text has.
class InflatingTokenizer : public ByteTokenizer {
  public:
    Tokens tokenize(std::string_view text) const override {
        Tokens tokens = ByteTokenizer::tokenize(text);
        if (text.find('!') == std::string_view::npos) tokens.resize(tokens.size() * 10, "x");
        return tokens;
    }
};

TEST(TokenSplitterTest, AlwaysEnds) {
    const TextSplitResult empties =
        TokenSplitter(std::make_shared<LineEndTokenizer>()).split("abc", 2, 0);
    EXPECT_EQ(empties.chunks, (Chunks{"", "", ""}));

    const TextSplitResult inflated =
        TokenSplitter(std::make_shared<InflatingTokenizer>()).split("abcdefg!", 3, 0);
    EXPECT_EQ(inflated.chunks, (Chunks{"abc"}));

    EXPECT_EQ(TokenSplitter(bytes).split("abc", 0, 0).chunks, (Chunks{"a", "b", "c"}));
    for (const char* blank : {"", " \t ", "\t"}) {
        EXPECT_TRUE(TokenSplitter(bert()).split(blank, 10, 0).chunks.empty()) << blank;
    }
}

struct CharacterCase {
    const char* name;
    std::optional<std::string> separator;
    std::string text;
    int chunkSize;
    int chunkOverlap;
    Chunks expected;
};

class CharacterSplitterTest : public testing::TestWithParam<CharacterCase> {};

TEST_P(CharacterSplitterTest, Splits) {
    const CharacterCase& c = GetParam();
    const TextSplitResult result =
        CharacterSplitter(c.separator).split(c.text, c.chunkSize, c.chunkOverlap);
    EXPECT_EQ(result.chunks, c.expected);
    EXPECT_FALSE(result.tokens.has_value());
}

const CharacterCase characterCases[] = {
    {"Overlap", " ", "a b c d e", 2, 1, {"a b", "b c", "c d", "d e"}},
    {"NoOverlap", " ", "a b c d e", 2, 0, {"a b", "c d", "e"}},
    {"OverlapLargerThanChunk", " ", "a b c", 1, 5, {"a", "a b", "a b c"}},
    {"TrimKeepsLineEnds", ",", " a ,\tb\n", 1, 0, {"a", "b\n"}},
    {"AbsentSeparatorDoesNotCut", std::nullopt, " a b ", 1, 0, {"a b"}},
    {"EmptyPartsCount", ",", "a,,b", 2, 0, {"a,", "b"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, CharacterSplitterTest, testing::ValuesIn(characterCases),
                         [](const auto& test) { return test.param.name; });

TEST(RecursiveCharacterSplitterTest, CountsPartsAgainstTheChunkSize) {
    const RecursiveCharacterSplitter splitter;
    TextSplitResult result = splitter.split("a b c d e f", 3, 0);
    EXPECT_EQ(result.chunks, (Chunks{"a b", "c d", "e f"}));
    EXPECT_EQ(result.tokens, (std::vector<Tokens>{{"a b"}, {"c d"}, {"e f"}}));

    result = splitter.split("one two three", 5, 0);
    EXPECT_EQ(result.chunks, (Chunks{"one two three"}));

    result = splitter.split("ab\ncd\n\nef", 5, 0);
    EXPECT_EQ(result.chunks, (Chunks{"ab\ncd\n\nef\n\n"}));
}

TEST(RecursiveCharacterSplitterTest, MeasuresPartsInCharacters) {
    const RecursiveCharacterSplitter splitter;
    // Five characters of two bytes each fit a chunk size of 5.
    EXPECT_EQ(splitter.split("ééééé", 5, 0).chunks, (Chunks{"ééééé\n\n"}));
    EXPECT_TRUE(splitter.split("ab cd.ef", 3, 0).chunks.empty());
}

TEST(CustomTokenSplitterTest, ChunksCarryTheirPageAndLineRange) {
    // Ten lines of 100 tokens: five lines fill a chunk of 510.
    std::string page;
    for (int i = 0; i < 10; ++i) page += repeat("x", 100) + (i < 9 ? "\n" : "");
    const CustomTokenSplitter splitter(bytes);
    const std::vector<Document> chunks =
        splitter.splitDocuments({{"", {{"page", "1"}}},
                                 {page, {{"page", "2"}, {"loc", R"({"source":"scan"})"}}},
                                 {"tail", {{"page", "3"}, {"loc", "12"}}}});

    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].metadata.at("page"), "2");
    EXPECT_EQ(chunks[0].metadata.at("loc"), R"({"lines":{"from":1,"to":6},"source":"scan"})");
    // Nine line ends in the text, five in each chunk: the count goes back by one.
    EXPECT_EQ(chunks[1].metadata.at("loc"), R"({"lines":{"from":5,"to":10},"source":"scan"})");
    EXPECT_EQ(chunks[1].pageContent, repeat(repeat("x", 100) + "\n", 5));
    EXPECT_EQ(chunks[2].pageContent, "tail\n\n");
    EXPECT_EQ(chunks[2].metadata, (std::map<std::string, std::string>{
                                      {"page", "3"}, {"loc", R"({"lines":{"from":1,"to":3}})"}}));
}

TEST(CustomTokenSplitterTest, PutsTheHeadersInFront) {
    std::string page;
    for (int i = 0; i < 10; ++i) page += repeat("x", 100) + "\n";
    const ChunkHeaderOptions options{
        .chunkHeader = "H: ", .chunkOverlapHeader = "(cont'd) ", .appendChunkOverlapHeader = true};
    const std::vector<Document> chunks =
        CustomTokenSplitter(bytes).createDocuments({page}, {}, options);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_TRUE(chunks[0].pageContent.starts_with("H: xxx"));
    EXPECT_TRUE(chunks[1].pageContent.starts_with("H: (cont'd) xxx"));
    EXPECT_EQ(chunks[0].metadata.size(), 1u);

    // The indexing flow's options add nothing.
    const std::vector<Document> plain = CustomTokenSplitter(bytes).createDocuments({page}, {});
    EXPECT_TRUE(plain[1].pageContent.starts_with("xxx"));
}

}  // namespace
}  // namespace folvane
