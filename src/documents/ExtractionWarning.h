#pragma once

#include <optional>
#include <string>

namespace folvane {

// What a reader of a PDF's extracted text must be told, in the user's words,
// or none when the text is whole: a document without pages, without any
// text, or whose file had to be repaired (cut short or damaged).
struct ExtractionWarning {
    std::string text;
    bool fatal = false;  // nothing at all could be read

    static std::optional<ExtractionWarning> of(const std::string& documentName, int pageCount,
                                               bool repaired, size_t pagesWithText);
};

}  // namespace folvane
