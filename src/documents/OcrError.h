#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// A failure of text recognition: a domain, a code and the user's words, which
// are also what().
class OcrError : public std::runtime_error {
  public:
    OcrError(std::string domain, int code, const std::string& description)
        : std::runtime_error(description), domain_(std::move(domain)), code_(code) {}

    // "ImageConversionError" 0: the rendered page gives no bitmap.
    static OcrError imageConversionFailed();
    // "TextRecognitionError" 1: the recognizer failed.
    static OcrError recognitionRequestFailed();
    // "TextRecognitionError" 2: the recognizer gave no results.
    static OcrError noResults();

    const std::string& domain() const { return domain_; }
    int code() const { return code_; }
    // The error as a log line shows it: domain, code and words.
    std::string describe() const;

  private:
    std::string domain_;
    int code_;
};

}  // namespace folvane
