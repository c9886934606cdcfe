#include <ostream>
#include <stdexcept>

#include "cli/CliArguments.h"
#include "cli/ExtractionReport.h"
#include "documents/ExtractionWarning.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "store/AppPreferences.h"
#include "store/JsonText.h"

namespace folvane {

// pages FILE.pdf [--force-ocr] [--json]: the page documents of a PDF, as the
// indexing reads them, with the settings' OCR choices.
int runPagesCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    const bool forceOCR = takeFlag(args, "--force-ocr");
    if (args.empty()) throw UsageError("pages needs a PDF file");
    expectNoMoreArguments(args, 1);

    auto pdf = PdfDocument::open(args[0]);
    const bool scanned = isScannedPDF(*pdf, 10, 20);
    const PdfTextExtractor extractor(OcrSettings::from(context.preferences()));
    const auto pages = extractor.extractPagesDetailed(*pdf, scanned, forceOCR);

    auto& out = context.out();
    size_t pagesWithText = 0;
    for (const auto& page : pages) {
        if (!page.document.pageContent.empty()) ++pagesWithText;
        const std::string& number = page.document.metadata.at(pageMetadataKey);
        if (json) {
            nlohmann::ordered_json row;
            row["page"] = nullptr;
            if (number != "nil") row["page"] = std::stoi(number);
            row["ocr"] = page.ocr;
            row["text"] = page.document.pageContent;
            out << compactJson(row) << '\n';
        } else {
            out << "== page " << number << (page.ocr ? " (OCR)" : " (text layer)") << '\n'
                << page.document.pageContent << '\n';
        }
    }
    return reportExtraction(context, args[0], *pdf, pagesWithText);
}

}  // namespace folvane
