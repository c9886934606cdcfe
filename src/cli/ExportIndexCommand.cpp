#include <filesystem>
#include <ostream>

#include "SimilaritySearchKit/BinaryStore.h"
#include "SimilaritySearchKit/Files.h"
#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "cli/CliContext.h"

namespace folvane {

// export-index CHAT_ID [--format csv|json|binary] [-o DIR]: writes each of the
// chat's indexes (texts, vectors, metadata) to a file named after the index,
// in DIR or the user's documents folder, and prints the paths. CSV for a
// spreadsheet; JSON and binary (LZMA) are the index module's own files.
int runExportIndexCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const std::string format = takeOption(args, "--format").value_or("csv");
    if (format != "csv" && format != "json" && format != "binary") {
        throw UsageError("Unknown index format: " + format + " (csv, json or binary)");
    }
    const std::filesystem::path directory =
        takeOption(args, "-o").value_or(context.paths().documentsDirectory);
    if (args.empty()) throw UsageError("export-index needs a chat id");
    expectNoMoreArguments(args, 1);

    ChatSession session(context, parseId(args[0], "chat id"));
    std::filesystem::create_directories(directory);
    session.loadIndexes(true);
    const ChatIndexer* indexer = session.viewModel().indexer();
    if (!indexer) return 0;
    const ChatIndexes indexes = indexer->indexes();
    for (const auto& index : {indexes.local, indexes.openai, indexes.openaiNew}) {
        if (!index) continue;
        const auto items = index->indexItems();
        const std::string name = index->indexName();
        std::filesystem::path file;
        if (format == "csv") {
            file = Files(directory).saveCSV(items, name);
        } else if (format == "json") {
            file = index->saveIndex(directory);  // the index's own store: JSON
        } else {
            file = BinaryStore().saveIndex(items, directory, name);
        }
        context.out() << file.string() << '\n';
    }
    return 0;
}

}  // namespace folvane
