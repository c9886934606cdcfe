#include "cli/ExtractionReport.h"

#include <filesystem>
#include <ostream>

#include "cli/CliContext.h"
#include "documents/ExtractionWarning.h"
#include "documents/PdfDocument.h"

namespace folvane {

int reportExtraction(CliContext& context, const std::string& file, PdfDocument& pdf,
                     size_t pagesWithText) {
    const auto warning = ExtractionWarning::of(std::filesystem::path(file).filename().string(),
                                               pdf.pageCount(), pdf.wasRepaired(), pagesWithText);
    if (!warning) return 0;
    context.err() << warning->text << '\n';
    return warning->fatal ? 1 : 0;
}

}  // namespace folvane
