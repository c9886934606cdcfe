#include <chrono>
#include <cstdio>
#include <ostream>

#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "cli/CliContext.h"

namespace folvane {

// index CHAT_ID: loads the chat's stored rows and embeds the documents that
// have none, with the progress on stderr; then one line per document (a
// failed one's reason on stderr) and the pages per second of the documents
// embedded. Exits 1 when any document failed, also when the others answer.
int runIndexCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    if (args.empty()) throw UsageError("index needs a chat id");
    expectNoMoreArguments(args, 1);
    const auto start = std::chrono::steady_clock::now();
    ChatSession session(context, parseId(args[0], "chat id"));
    const int pages = session.loadIndexes(true);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    const auto& documents = session.state().allDocuments;
    size_t failed = 0;
    for (const auto& document : documents) failed += session.printDocument(document) ? 1 : 0;
    size_t chunks = 0;
    if (const ChatIndexer* indexer = session.viewModel().indexer()) {
        const auto indexes = indexer->indexes();
        for (const auto& index : {indexes.local, indexes.openai, indexes.openaiNew}) {
            if (index) chunks += index->indexItems().size();
        }
    }
    char rate[64];
    std::snprintf(rate, sizeof rate, "%.1f", seconds > 0 ? pages / seconds : 0.0);
    char elapsed[64];
    std::snprintf(elapsed, sizeof elapsed, "%.2f", seconds);
    auto& out = context.out();
    out << chunks << " chunks ready in " << elapsed << " s";
    if (pages > 0) out << "; " << pages << " pages embedded, " << rate << " pages per second";
    out << '\n';
    if (failed == 0) return 0;
    context.err() << failed << " of " << documents.size()
                  << " documents could not be indexed; the chat answers from the others.\n";
    return 1;
}

}  // namespace folvane
