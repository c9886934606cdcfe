// Text recognition with the real Tesseract, end to end from generated PDFs.

#include <gtest/gtest.h>

#include "documents/OcrError.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "documents/TesseractTextRecognizer.h"
#include "support/TempDir.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using test::TempDir;

std::unique_ptr<PdfDocument> openBytes(const TempDir& dir, const std::string& bytes) {
    const auto path = dir / "doc.pdf";
    test::writeFile(path, bytes);
    return PdfDocument::open(path);
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

TEST(TesseractTextRecognizer, FindsNoLinesOnABlankPage) {
    PageImage blank{400, 300, 150, std::vector<uint8_t>(400 * 300, 255)};
    TesseractTextRecognizer recognizer;
    EXPECT_TRUE(recognizer.recognizeText(blank, RecognitionLevel::accurate).empty());
    // Speckles that no reading makes sense of.
    PageImage noise = blank;
    for (size_t i = 0; i < noise.pixels.size(); i += 97) noise.pixels[i] = 0;
    EXPECT_NO_THROW(recognizer.recognizeText(noise, RecognitionLevel::fast));
}

TEST(TesseractTextRecognizer, FailsAsARecognitionRequestWithoutModelOrImage) {
    const PageImage page{100, 100, 150, std::vector<uint8_t>(100 * 100, 255)};
    const PageImage empty{};
    const PageImage shortBuffer{100, 100, 150, std::vector<uint8_t>(10, 255)};
    TempDir dir;
    TesseractTextRecognizer withoutModel(dir.path().string());
    TesseractTextRecognizer recognizer;
    const std::pair<TesseractTextRecognizer*, const PageImage*> cases[] = {
        {&withoutModel, &page},
        {&withoutModel, &page},
        {&recognizer, &empty},
        {&recognizer, &shortBuffer}};
    for (const auto& [which, image] : cases) {
        try {
            which->recognizeText(*image, RecognitionLevel::accurate);
            ADD_FAILURE() << "no error";
        } catch (const OcrError& error) {
            EXPECT_EQ(error.domain(), "TextRecognitionError");
            EXPECT_EQ(error.code(), 1);
            EXPECT_STREQ(error.what(), "Failed to perform text recognition request.");
        }
    }
}

TEST(OcrExtraction, AScannedDocumentIsReadWhollyByOcr) {
    TempDir dir;
    std::vector<std::vector<std::string>> pages;
    for (int i = 1; i <= 10; ++i) pages.push_back({"Scanned page number " + std::to_string(i)});
    pages[3] = {"Morning light", "falls softly"};
    auto pdf = openBytes(dir, test::makeScannedPdf(pages));
    ASSERT_TRUE(pdf);
    EXPECT_TRUE(isScannedPDF(*pdf, 10, 20));

    const PdfTextExtractor extractor(OcrSettings{true, "fast"});
    const auto read = extractor.extractPagesDetailed(*pdf, true, false);
    ASSERT_EQ(read.size(), 10u);
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(read[i].ocr);
        EXPECT_EQ(read[i].document.metadata.at("page"), std::to_string(i + 1));
        if (i != 3) {
            EXPECT_EQ(read[i].document.pageContent, "Scanned page number " + std::to_string(i + 1));
        }
    }
    // Tesseract's line break stays (a paragraph break may come with it).
    std::string text = read[3].document.pageContent;
    if (const auto blank = text.find("\n\n"); blank != std::string::npos) text.erase(blank, 1);
    EXPECT_EQ(text, "Morning light\nfalls softly");
}

TEST(OcrExtraction, AFormPageIsReadFromItsPicture) {
    TempDir dir;
    test::TestPage form{{"Name of the applicant, as printed below"}};
    form.annotations = {{"FreeText", "Typed answer", "72 500 400 540"}};
    auto pdf = openBytes(dir, test::makePdfWithPages({form}));
    ASSERT_TRUE(pdf);
    const auto read =
        PdfTextExtractor(OcrSettings{true, "accurate"}).extractPages(*pdf, false, false);
    ASSERT_EQ(read.size(), 1u);
    const std::string text = lower(read[0].pageContent);
    EXPECT_NE(text.find("name of the applicant"), std::string::npos) << text;
    EXPECT_NE(text.find("typed answer"), std::string::npos) << "the annotation is drawn: " << text;
}

TEST(OcrExtraction, AnUnreadableImagePageGivesAnEmptyDocument) {
    TempDir dir;
    auto pdf = openBytes(dir, test::makeScannedPdf({{}}));
    ASSERT_TRUE(pdf);
    const auto read = PdfTextExtractor(OcrSettings{}).extractPages(*pdf, true, false);
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0], (Document{"", {{"page", "1"}}}));
}

}  // namespace
}  // namespace folvane
