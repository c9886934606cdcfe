#pragma once

#include <memory>
#include <string>
#include <vector>

#include "documents/TextRecognizer.h"

namespace tesseract {
class TessBaseAPI;
}

namespace folvane {

// A line read from an image, in the image's pixels: its box and its
// characters, each with its box, one blank between two words (its box the gap).
struct RecognizedLine {
    struct Symbol {
        int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
        std::string text;
    };
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    std::vector<Symbol> symbols;
};

// Text recognition with Tesseract 5 and its English LSTM model, one thread
// inside a recognition (pages run in parallel on separate objects instead).
//
// Both levels use the LSTM engine with automatic page segmentation and the
// dictionary on. The fast level reads an image of a quarter of the pixels
// (renderResolution: 300 ppi accurate, 150 ppi fast) and skips the second
// reading of doubtful lines as inverted text.
// The model is loaded at the first recognition and kept for the next ones.
class TesseractTextRecognizer final : public TextRecognizer {
  public:
    static constexpr const char* defaultDataPath = "/usr/share/tesseract-ocr/5/tessdata";

    // dataPath: the tessdata folder; empty means TESSDATA_PREFIX when set, else
    // the default install.
    explicit TesseractTextRecognizer(std::string dataPath = {});
    ~TesseractTextRecognizer() override;

    std::vector<std::string> recognizeText(const PageImage& image, RecognitionLevel level) override;
    // The lines of the image with where each character stands, in reading
    // order. Throws OcrError as recognizeText does.
    std::vector<RecognizedLine> recognizeLines(const PageImage& image, RecognitionLevel level);

  private:
    bool ensureModel();
    // Reads the image; the engine then holds the result until Clear().
    void recognize(const PageImage& image, RecognitionLevel level);

    std::string dataPath_;
    std::unique_ptr<tesseract::TessBaseAPI> api_;
    bool failed_ = false;
    const char* invertPass_ = nullptr;  // the value last given to the engine
};

}  // namespace folvane
