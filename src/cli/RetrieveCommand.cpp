#include <cstdio>
#include <memory>
#include <ostream>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/DotProduct.h"
#include "SimilaritySearchKit/EuclideanDistance.h"
#include "cli/ChatSession.h"
#include "cli/CliArguments.h"
#include "cli/CliContext.h"
#include "documents/PdfTextExtractor.h"
#include "documents/ReferenceMatching.h"

namespace folvane {

namespace {

// The metric that --metric names. Cosine is the one answers are ranked by;
// the other two rank the same vectors by their raw product and by distance.
std::shared_ptr<const DistanceMetricProtocol> namedMetric(const std::string& name) {
    if (name == "cosine") return std::make_shared<CosineSimilarity>();
    if (name == "dotproduct") return std::make_shared<DotProduct>();
    if (name == "euclidian") return std::make_shared<EuclideanDistance>();
    throw UsageError("Unknown metric: " + name + " (cosine, dotproduct or euclidian)");
}

std::string firstLine(const std::string& text) {
    const std::string line = text.substr(0, text.find('\n'));
    return line.size() > 100 ? line.substr(0, 100) + "…" : line;
}

}  // namespace

// retrieve CHAT_ID QUERY [--metric cosine|dotproduct|euclidian] [--top N]:
// the chunks of a chat's indexes nearest to a query, best first, each with
// its index, score, page and first line. Shows what a question would be
// answered from, and how another metric would rank it.
int runRetrieveCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const auto metric = namedMetric(takeOption(args, "--metric").value_or("cosine"));
    const auto topText = takeOption(args, "--top");
    const int top = topText ? int(std::min<int64_t>(parseId(*topText, "count"), 1000)) : 5;
    if (args.size() < 2) throw UsageError("retrieve needs a chat id and a query");
    expectNoMoreArguments(args, 2);

    ChatSession session(context, parseId(args[0], "chat id"));
    session.loadIndexes(true);
    const ChatIndexer* indexer = session.viewModel().indexer();
    if (!indexer) return 0;
    const ChatIndexes indexes = indexer->indexes();
    auto& out = context.out();
    for (const auto& index : {indexes.local, indexes.openai, indexes.openaiNew}) {
        if (!index || index->indexItems().empty()) continue;
        for (const auto& result : index->search(args[1], top, metric)) {
            const auto stored = result.metadata.find(pageMetadataKey);
            const std::optional<int> page =
                stored == result.metadata.end() ? std::nullopt : pageNumber(stored->second);
            char score[32];
            std::snprintf(score, sizeof score, "%.4f", double(result.score));
            out << index->indexName() << '\t' << score << "\tpage "
                << (page ? std::to_string(*page) : "nil") << '\t' << firstLine(result.text) << '\n';
        }
    }
    return 0;
}

}  // namespace folvane
