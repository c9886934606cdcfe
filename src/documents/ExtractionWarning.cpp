#include "documents/ExtractionWarning.h"

namespace folvane {

std::optional<ExtractionWarning> ExtractionWarning::of(const std::string& documentName,
                                                       int pageCount, bool repaired,
                                                       size_t pagesWithText) {
    const std::string name = "“" + documentName + "”";
    if (pageCount == 0) {
        return ExtractionWarning{name + " has no pages: the file may be cut short or damaged.",
                                 true};
    }
    if (pagesWithText == 0) {
        return ExtractionWarning{name + " has no text that could be read" +
                                     (repaired ? ": the file may be cut short or damaged."
                                               : ", neither in its text layer nor by OCR."),
                                 true};
    }
    if (repaired) {
        return ExtractionWarning{
            name + " is damaged or cut short: some of its pages or text may be missing.", false};
    }
    return std::nullopt;
}

}  // namespace folvane
