#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "documents/PageImage.h"

namespace folvane {

enum class RecognitionLevel { fast, accurate };

// The setting's text "accurate", exactly, is the accurate level; anything else is fast.
inline RecognitionLevel recognitionLevelFromSetting(std::string_view setting) {
    return setting == "accurate" ? RecognitionLevel::accurate : RecognitionLevel::fast;
}

// Pixels per inch at which a page is rendered for a level.
inline int renderResolution(RecognitionLevel level) {
    return level == RecognitionLevel::accurate ? 300 : 150;
}

// Reads the text lines of an image, in reading order, each line's best reading;
// an empty line stands between two paragraphs.
// An object is used from one thread at a time; several objects may run at once.
class TextRecognizer {
  public:
    virtual ~TextRecognizer() = default;

    // Throws OcrError: code 1 when recognition fails, code 2 when it gives no
    // result at all. An image without text gives no lines.
    virtual std::vector<std::string> recognizeText(const PageImage& image,
                                                   RecognitionLevel level) = 0;
};

}  // namespace folvane
