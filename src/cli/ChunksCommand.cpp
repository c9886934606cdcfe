#include <algorithm>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/CharacterSplitter.h"
#include "SimilaritySearchKit/CustomTokenSplitter.h"
#include "SimilaritySearchKit/RecursiveCharacterSplitter.h"
#include "SimilaritySearchKit/RecursiveTokenSplitter.h"
#include "SimilaritySearchKit/TokenSplitter.h"
#include "cli/CliArguments.h"
#include "cli/ExtractionReport.h"
#include "documents/ExtractionWarning.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "store/AppPreferences.h"
#include "store/JsonText.h"

namespace folvane {

namespace {

constexpr const char* splitterNames = "custom, recursive-token, token, recursive or character";

// The splitter that --splitter names, over the BERT tokenizer; null for
// "custom", the one indexing uses.
std::unique_ptr<TextSplitterProtocol> namedSplitter(
    const std::string& name, const std::shared_ptr<const BertTokenizer>& tokenizer) {
    if (name == "custom") return nullptr;
    if (name == "recursive-token") return std::make_unique<RecursiveTokenSplitter>(tokenizer);
    if (name == "token") return std::make_unique<TokenSplitter>(tokenizer);
    if (name == "recursive") return std::make_unique<RecursiveCharacterSplitter>();
    if (name == "character") return std::make_unique<CharacterSplitter>(" ");
    throw UsageError("Unknown splitter: " + name + " (" + splitterNames + ")");
}

int chunkSizeOf(const std::optional<std::string>& text) {
    if (!text) return maxChunkTokens;
    const int64_t size = parseId(*text, "chunk size");
    if (size < 1) throw UsageError("The chunk size must be at least 1.");
    return int(std::min<int64_t>(size, 100000));
}

// The page documents cut by another splitter, each chunk keeping its page.
std::vector<Document> splitPages(const TextSplitterProtocol& splitter,
                                 const std::vector<Document>& pages, int chunkSize) {
    std::vector<Document> chunks;
    for (const auto& page : pages) {
        if (page.pageContent.empty()) continue;
        for (auto& text : splitter.split(page.pageContent, chunkSize, 0).chunks) {
            chunks.push_back(Document{std::move(text), page.metadata});
        }
    }
    return chunks;
}

}  // namespace

// chunks FILE.pdf [--json] [--splitter NAME] [--size N]: the chunks that
// indexing makes of a PDF (its page documents through the BERT-token splitter
// at 510 tokens), before redaction, each with its page and its number of BERT
// tokens. --splitter shows what another splitter of the index module makes of
// the same pages, at --size (tokens, characters or words, as the splitter
// counts).
int runChunksCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool json = takeFlag(args, "--json");
    const auto splitterName = takeOption(args, "--splitter");
    const int chunkSize = chunkSizeOf(takeOption(args, "--size"));
    if (args.empty()) throw UsageError("chunks needs a PDF file");
    expectNoMoreArguments(args, 1);

    // The vocabulary first: a broken installation is reported before any work.
    const auto tokenizer = std::make_shared<const BertTokenizer>(context.paths().resourceDirectory);
    const CustomTokenSplitter splitter(tokenizer);
    const auto other = namedSplitter(splitterName.value_or("custom"), tokenizer);

    auto pdf = PdfDocument::open(args[0]);
    const bool scanned = isScannedPDF(*pdf, 10, 20);
    const PdfTextExtractor extractor(OcrSettings::from(context.preferences()));
    const std::vector<Document> pages = extractor.extractPages(*pdf, scanned, false);
    const std::vector<Document> chunks = other
                                             ? splitPages(*other, pages, chunkSize)
                                             : splitter.splitDocuments(pages, ChunkHeaderOptions{});

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
