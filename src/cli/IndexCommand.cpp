#include <cstdio>
#include <ostream>

#include "cli/CliArguments.h"
#include "cli/CliIndexer.h"

namespace folvane {

// index CHAT_ID: loads the chat's stored rows and embeds the documents that
// have none, with a progress bar on stderr; then one line per document and
// the pages per second of the documents embedded.
int runIndexCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    if (args.empty()) throw UsageError("index needs a chat id");
    expectNoMoreArguments(args, 1);
    CliIndexer indexer(context, parseId(args[0], "chat id"));
    indexer.load();
    const double seconds = indexer.seconds();

    auto& out = context.out();
    const auto state = indexer.indexer().state();
    for (const auto& document : state.documents) {
        out << document.bookmark.id << '\t' << rawValue(document.indexingState) << '\t'
            << document.fileUrl << '\n';
    }
    size_t chunks = 0;
    const auto indexes = indexer.indexer().indexes();
    for (const auto& index : {indexes.local, indexes.openai, indexes.openaiNew}) {
        if (index) chunks += index->indexItems().size();
    }
    const int pages = indexer.processedPages();
    char rate[64];
    std::snprintf(rate, sizeof rate, "%.1f", seconds > 0 ? pages / seconds : 0.0);
    char elapsed[64];
    std::snprintf(elapsed, sizeof elapsed, "%.2f", seconds);
    out << chunks << " chunks ready in " << elapsed << " s";
    if (pages > 0) out << "; " << pages << " pages embedded, " << rate << " pages per second";
    out << '\n';
    return 0;
}

}  // namespace folvane
