#include "documents/OcrError.h"

namespace folvane {

OcrError OcrError::imageConversionFailed() {
    return {"ImageConversionError", 0, "Failed to convert NSImage to CGImage."};
}

OcrError OcrError::recognitionRequestFailed() {
    return {"TextRecognitionError", 1, "Failed to perform text recognition request."};
}

OcrError OcrError::noResults() {
    return {"TextRecognitionError", 2, "Failed to recognize text."};
}

std::string OcrError::describe() const {
    return "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" + what() + "\"";
}

}  // namespace folvane
