#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <set>

#include "documents/CharacterCount.h"
#include "documents/OcrError.h"
#include "documents/PdfTextExtractor.h"
#include "support/LogCapture.h"
#include "support/Repeat.h"

namespace folvane {
namespace {

// A PDF made of plain values. A rendered page is an image one pixel high whose
// width is the page index plus one, so that the recognizer knows the page.
struct FakePage {
    FakePage(std::optional<std::string> layer = std::nullopt,
             std::vector<PdfAnnotation> annots = {}, std::optional<int> pageNumber = std::nullopt,
             bool isPresent = true, bool canRender = true)
        : text(std::move(layer)),
          annotations(std::move(annots)),
          number(pageNumber),
          present(isPresent),
          renders(canRender) {}

    std::optional<std::string> text;
    std::vector<PdfAnnotation> annotations;
    std::optional<int> number;
    bool present;
    bool renders;
};

class FakePdf : public PdfPageSource {
  public:
    explicit FakePdf(std::vector<FakePage> pages) : pages_(std::move(pages)) {}

    int pageCount() override { return static_cast<int>(pages_.size()); }
    bool hasPage(int index) override { return pages_.at(index).present; }
    std::optional<std::string> pageText(int index) override {
        textReads.push_back(index);
        return pages_.at(index).present ? pages_.at(index).text : std::nullopt;
    }
    std::vector<PdfAnnotation> annotations(int index) override {
        return pages_.at(index).annotations;
    }
    std::optional<int> pageNumber(int index) override { return pages_.at(index).number; }
    std::optional<PageImage> renderPage(int index, int resolution) override {
        resolutions.insert(resolution);
        if (!pages_.at(index).renders) return std::nullopt;
        return PageImage{index + 1, 1, resolution, std::vector<uint8_t>(index + 1, 255)};
    }

    std::vector<int> textReads;
    std::set<int> resolutions;

  private:
    std::vector<FakePage> pages_;
};

// What the fake recognizer does with a page, by page index.
struct Reading {
    std::vector<std::string> lines;
    std::optional<OcrError> error;
};

struct RecognizerLog {
    std::mutex mutex;
    std::vector<RecognitionLevel> levels;
    std::atomic<int> made = 0;
};

class FakeRecognizer : public TextRecognizer {
  public:
    FakeRecognizer(const std::map<int, Reading>& readings, RecognizerLog& log)
        : readings_(readings), log_(log) {}

    std::vector<std::string> recognizeText(const PageImage& image,
                                           RecognitionLevel level) override {
        {
            std::lock_guard lock(log_.mutex);
            log_.levels.push_back(level);
        }
        const auto found = readings_.find(image.width - 1);
        if (found == readings_.end()) return {"page " + std::to_string(image.width - 1)};
        if (found->second.error) throw *found->second.error;
        return found->second.lines;
    }

  private:
    const std::map<int, Reading>& readings_;
    RecognizerLog& log_;
};

struct Harness {
    std::map<int, Reading> readings;
    RecognizerLog recognizers;

    PdfTextExtractor extractor(OcrSettings settings = {}, unsigned threads = 1) {
        return PdfTextExtractor(
            std::move(settings),
            [this] {
                ++recognizers.made;
                return std::make_unique<FakeRecognizer>(readings, recognizers);
            },
            threads);
    }
};

const std::string longText = "A text layer long enough to be trusted as it is.";

using test::repeat;

FakePage textPage(std::string text, int number) {
    return {std::move(text), {}, number};
}

std::string pageOf(const Document& document) {
    return document.metadata.at(pageMetadataKey);
}

TEST(PdfTextExtractor, DecidesWhichPagesGoToOcr) {
    struct Case {
        const char* name;
        bool formsSetting;
        int formTexts;
        std::optional<std::string> text;
        bool scanned;
        bool force;
        bool expected;
    };
    const Case cases[] = {
        {"long text", true, 0, longText, false, false, false},
        {"29 characters", true, 0, std::string(29, 'x'), false, false, true},
        {"30 characters", true, 0, std::string(30, 'x'), false, false, false},
        {"15 characters in 30 bytes", true, 0, repeat("\xc3\xa9", 15), false, false, true},
        {"30 characters in 60 bytes", true, 0, repeat("\xc3\xa9", 30), false, false, false},
        {"empty text layer", true, 0, std::string(), false, false, true},
        {"long text, forced", true, 0, longText, false, true, true},
        {"long text, scanned", true, 0, longText, true, false, true},
        {"form with the setting on", true, 1, longText, false, false, true},
        {"form with the setting off", false, 2, longText, false, false, false},
        {"form, setting off, short text", false, 1, std::string("abc"), false, false, true},
        {"no text layer", true, 0, std::nullopt, false, false, false},
        {"no text layer, forced", true, 0, std::nullopt, false, true, true},
        {"no text layer, scanned", false, 0, std::nullopt, true, false, true},
    };
    Harness harness;
    for (const auto& c : cases) {
        const auto extractor = harness.extractor({c.formsSetting, "accurate"});
        EXPECT_EQ(extractor.shouldOCR(c.text, c.formTexts, c.scanned, c.force), c.expected)
            << c.name;
    }
}

TEST(PdfTextExtractor, ReadsOnlyTheShortPageOfATextDocumentByOcr) {
    Harness harness;
    harness.readings[1] = {{"Hello"}, {}};
    FakePdf pdf({textPage(longText, 1), textPage("Hi", 2), textPage(longText + " 3", 3)});
    test::LogCapture log;
    const auto pages = harness.extractor().extractPagesDetailed(pdf, false, false);
    ASSERT_EQ(pages.size(), 3u);
    EXPECT_EQ(pages[0].document, (Document{longText, {{"page", "1"}}}));
    EXPECT_FALSE(pages[0].ocr);
    EXPECT_EQ(pages[1].document, (Document{"Hello", {{"page", "2"}}}));
    EXPECT_TRUE(pages[1].ocr);
    EXPECT_FALSE(pages[2].ocr);
    EXPECT_EQ(log.count("shouldDoOCR false"), 2);
    EXPECT_EQ(log.count("shouldDoOCR true"), 1);
    EXPECT_EQ(harness.recognizers.made, 1);
}

TEST(PdfTextExtractor, FormTextsSendAPageToOcrOnlyWithTheSettingOn) {
    const std::vector<PdfAnnotation> form = {{"FreeText", "typed into the form"}};
    const std::vector<PdfAnnotation> notForms = {
        {"FreeText", std::nullopt}, {"Text", "a note"}, {"freetext", "wrong case"}};
    Harness harness;
    harness.readings[0] = {{"read from the picture"}, {}};
    harness.readings[1] = {{"never read"}, {}};

    FakePdf pdf({{longText, form, 1}, {longText, notForms, 2}});
    auto pages = harness.extractor({true, "accurate"}).extractPages(pdf, false, false);
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].pageContent, "read from the picture");
    EXPECT_EQ(pages[1].pageContent, longText);
    EXPECT_EQ(pdf.textReads, std::vector<int>{1}) << "a form page's text layer is not read";

    FakePdf samePdf({{longText, form, 1}, {longText, notForms, 2}});
    pages = harness.extractor({false, "accurate"}).extractPages(samePdf, false, false);
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].pageContent, longText);
    EXPECT_EQ(pages[1].pageContent, longText);
}

TEST(PdfTextExtractor, OnlyTheExactSettingAccurateMeansTheAccurateLevel) {
    const std::pair<const char*, RecognitionLevel> cases[] = {
        {"accurate", RecognitionLevel::accurate},
        {"fast", RecognitionLevel::fast},
        {"Accurate", RecognitionLevel::fast},
        {"accurate ", RecognitionLevel::fast},
        {"", RecognitionLevel::fast},
    };
    for (const auto& [setting, level] : cases) {
        Harness harness;
        FakePdf pdf({textPage("short", 1)});
        harness.extractor({true, setting}).extractPages(pdf, false, false);
        ASSERT_EQ(harness.recognizers.levels.size(), 1u) << setting;
        EXPECT_EQ(harness.recognizers.levels[0], level) << setting;
        EXPECT_EQ(pdf.resolutions, std::set<int>{renderResolution(level)}) << setting;
    }
}

TEST(PdfTextExtractor, KeepsTheLinesAndParagraphsOfTheRecognizedText) {
    Harness harness;
    harness.readings[0] = {{"The last word of a line", "and the first of the next", "", "end"}, {}};
    FakePdf pdf({textPage("", 1)});
    const auto pages = harness.extractor().extractPages(pdf, false, true);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages[0].pageContent, "The last word of a line\nand the first of the next\n\nend");
}

TEST(PdfTextExtractor, CarriesThePdfsOwnPageNumbers) {
    Harness harness;
    FakePage absent{longText, {}, 11, false};
    FakePage unnumbered{longText, {}, std::nullopt};
    FakePdf pdf(
        {textPage(longText, 10), absent, textPage(longText, 12), unnumbered, textPage("tiny", 7)});
    const auto pages = harness.extractor().extractPages(pdf, false, false);
    ASSERT_EQ(pages.size(), 4u);
    EXPECT_EQ(pageOf(pages[0]), "10");
    EXPECT_EQ(pageOf(pages[1]), "12");
    EXPECT_EQ(pageOf(pages[2]), "nil");
    EXPECT_EQ(pageOf(pages[3]), "7");
    EXPECT_EQ(pages[3].pageContent, "page 4");
    for (const auto& page : pages) EXPECT_EQ(page.metadata.size(), 1u);
}

TEST(PdfTextExtractor, AFailedPageCostsOnlyThatPage) {
    Harness harness;
    harness.readings[1] = {{}, OcrError::recognitionRequestFailed()};
    harness.readings[2] = {{}, OcrError::noResults()};
    harness.readings[4] = {{}, {}};
    FakePage unrenderable{std::string(), {}, 4, true, false};
    FakePdf pdf({textPage(longText, 1),
                 textPage("", 2),
                 textPage("x", 3),
                 unrenderable,
                 textPage("", 5),
                 {std::nullopt, {}, 6}});
    test::LogCapture log;
    const auto pages = harness.extractor().extractPagesDetailed(pdf, false, false);

    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pageOf(pages[0].document), "1");
    EXPECT_EQ(pages[1].document, (Document{"", {{"page", "5"}}})) << "empty OCR is kept";
    EXPECT_TRUE(pages[1].ocr);
    EXPECT_EQ(log.count("Error Domain=TextRecognitionError Code=1 \"Failed to perform text "
                        "recognition request.\""),
              1);
    EXPECT_EQ(log.count("Error Domain=TextRecognitionError Code=2 \"Failed to recognize text.\""),
              1);
    EXPECT_EQ(log.count("Error Domain=ImageConversionError Code=0 \"Failed to convert NSImage "
                        "to CGImage.\""),
              1);
    EXPECT_EQ(log.count("no page content"), 1) << "page 6 has no text layer and no OCR";
    EXPECT_EQ(log.count("shouldDoOCR true"), 4);
    EXPECT_EQ(log.count("shouldDoOCR false"), 2);
}

TEST(PdfTextExtractor, AScannedDocumentGoesWhollyToOcrInPageOrder) {
    Harness harness;
    std::vector<FakePage> scans;
    for (int i = 0; i < 40; ++i) {
        FakePage scan;
        scan.number = i + 1;
        scans.push_back(std::move(scan));
    }
    scans[5].text = longText;
    FakePdf pdf(std::move(scans));
    const auto pages = harness.extractor({}, 4).extractPagesDetailed(pdf, true, false);
    ASSERT_EQ(pages.size(), 40u);
    for (int i = 0; i < 40; ++i) {
        EXPECT_TRUE(pages[i].ocr);
        EXPECT_EQ(pages[i].document.pageContent, "page " + std::to_string(i));
        EXPECT_EQ(pageOf(pages[i].document), std::to_string(i + 1));
    }
    EXPECT_LE(harness.recognizers.made, 4);
}

TEST(PdfTextExtractor, StopsBetweenPagesWhenAsked) {
    Harness harness;
    FakePdf pdf({textPage(longText, 1), textPage("", 2)});
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(harness.extractor().extractPages(pdf, false, false, stop.get_token()).empty());
    EXPECT_EQ(harness.recognizers.made, 0);
}

TEST(IsScannedPdf, CountsCharactersOfSampledPages) {
    struct Case {
        const char* name;
        std::vector<FakePage> pages;
        bool expected;
    };
    // An e and a combining acute make one character of three bytes.
    const std::string twentyAccented = repeat("e\xcc\x81", 20);
    const Case cases[] = {
        {"no pages", {}, true},
        {"no text layers", {{std::nullopt}, {std::nullopt}, {std::nullopt}}, true},
        {"19 characters", {textPage(std::string(19, 'a'), 1)}, true},
        {"20 characters", {textPage(std::string(20, 'a'), 1)}, false},
        {"19 of them accented", {textPage(twentyAccented.substr(3), 1)}, true},
        {"20 of them accented", {textPage(twentyAccented, 1)}, false},
        {"CRLF counts once", {textPage(std::string(18, 'a') + "\r\n", 1)}, true},
        {"an absent page is passed over",
         {{longText, {}, 1, false}, {std::nullopt}, {std::nullopt}},
         true},
        {"only the last page has text",
         {{std::nullopt}, {std::nullopt}, textPage(longText, 3)},
         false},
    };
    std::mt19937 random(42);
    for (const auto& c : cases) {
        FakePdf pdf(c.pages);
        EXPECT_EQ(isScannedPDF(pdf, 10, 20, random), c.expected) << c.name;
    }
}

TEST(IsScannedPdf, SamplesDistinctPagesUpToTheSampleCount) {
    std::vector<FakePage> pages(50, FakePage{std::nullopt});
    for (unsigned seed = 0; seed < 20; ++seed) {
        FakePdf pdf(pages);
        std::mt19937 random(seed);
        EXPECT_TRUE(isScannedPDF(pdf, 10, 20, random));
        EXPECT_EQ(pdf.textReads.size(), 10u);
        EXPECT_EQ(std::set<int>(pdf.textReads.begin(), pdf.textReads.end()).size(), 10u);
    }
    FakePdf small(std::vector<FakePage>(3, FakePage{std::nullopt}));
    EXPECT_TRUE(isScannedPDF(small, 10, 20));
    EXPECT_EQ(std::set<int>(small.textReads.begin(), small.textReads.end()),
              (std::set<int>{0, 1, 2}));
}

TEST(IsScannedPdf, AMixedDocumentIsJudgedByItsSample) {
    // One text page among 100: found by some samples of 10, missed by others.
    std::vector<FakePage> pages(100, FakePage{std::nullopt});
    pages[37] = textPage(longText, 38);
    int notScanned = 0;
    std::mt19937 random(7);
    for (int run = 0; run < 200; ++run) {
        FakePdf pdf(pages);
        if (!isScannedPDF(pdf, 10, 20, random)) ++notScanned;
    }
    EXPECT_GT(notScanned, 0);
    EXPECT_LT(notScanned, 200);
}

TEST(CountCharacters, CountsGraphemeClustersUpToALimit) {
    const std::tuple<const char*, std::string, size_t, size_t> cases[] = {
        {"empty", "", 30, 0},
        {"ascii", "hello", 30, 5},
        {"limited", "hello world", 4, 4},
        {"crlf", "a\r\nb", 30, 3},
        {"two-byte letters", "\xc3\xa9t\xc3\xa9", 30, 3},
        {"flag of two regional indicators", "\xf0\x9f\x87\xab\xf0\x9f\x87\xb7!", 30, 2},
        {"family emoji with joiners",
         "\xf0\x9f\x91\xa8\xe2\x80\x8d\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x91\xa7", 30, 1},
        {"invalid bytes still end", "\xff\xfe\xfd", 30, 3},
    };
    for (const auto& [name, text, limit, expected] : cases) {
        EXPECT_EQ(countCharacters(text, limit), expected) << name;
    }
}

}  // namespace
}  // namespace folvane
