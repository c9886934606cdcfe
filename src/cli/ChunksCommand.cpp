#include <memory>
#include <ostream>
#include <stdexcept>

#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/CustomTokenSplitter.h"
#include "cli/CliArguments.h"
#include "cli/ExtractionReport.h"
#include "documents/ExtractionWarning.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "store/AppPreferences.h"
#include "store/JsonText.h"

namespace folvane {

// chunks FILE.pdf [--json]: the chunks that indexing makes of a PDF (its page
// documents through the BERT-token splitter at 510 tokens), before redaction,
// each with its page and its number of BERT tokens.
int runChunksCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    if (args.empty()) throw UsageError("chunks needs a PDF file");
    expectNoMoreArguments(args, 1);

    // The vocabulary first: a broken installation is reported before any work.
    const auto tokenizer = std::make_shared<const BertTokenizer>(context.paths().resourceDirectory);
    const CustomTokenSplitter splitter(tokenizer);

    auto pdf = PdfDocument::open(args[0]);
    const bool scanned = isScannedPDF(*pdf, 10, 20);
    const PdfTextExtractor extractor(OcrSettings::from(context.preferences()));
    const std::vector<Document> pages = extractor.extractPages(*pdf, scanned, false);
    const std::vector<Document> chunks = splitter.splitDocuments(pages, ChunkHeaderOptions{});

    auto& out = context.out();
    for (size_t i = 0; i < chunks.size(); ++i) {
        const Document& chunk = chunks[i];
        const auto page = chunk.metadata.find(pageMetadataKey);
        const std::string number = page == chunk.metadata.end() ? "" : page->second;
        const size_t tokens = tokenizer->tokenize(chunk.pageContent).size();
        if (json) {
            nlohmann::ordered_json row;
            row["page"] = nullptr;
            if (!number.empty() && number != "nil") row["page"] = std::stoi(number);
            row["tokens"] = tokens;
            row["text"] = chunk.pageContent;
            out << compactJson(row) << '\n';
        } else {
            out << "== chunk " << i + 1 << ", page " << (number.empty() ? "nil" : number) << ", "
                << tokens << " tokens\n"
                << chunk.pageContent << '\n';
        }
    }
    size_t pagesWithText = 0;
    for (const auto& page : pages) pagesWithText += page.pageContent.empty() ? 0 : 1;
    return reportExtraction(context, args[0], *pdf, pagesWithText);
}

}  // namespace folvane
