// The indexing chain of a chat and the retrieval of a question, each against a
// baseline measured in the same run:
//  - indexing a generated 300-page text PDF end to end (extraction, splitting,
//    redaction, NativeEmbeddings, the stored rows), pages per second, against
//    the text extraction of the same PDF alone;
//  - reopening a chat of 3,000 stored chunks (its rows read back into the
//    index, no embedding), against the bare read of the same rows;
//  - the instruction for one question over three indexes of 3,000 chunks
//    each, all on NativeEmbeddings (no remote call), against the three plain
//    searches that it runs.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "chat/AppChatService.h"
#include "documents/ChatIndexer.h"
#include "documents/ContextBuilder.h"
#include "documents/PdfDocument.h"
#include "documents/PdfTextExtractor.h"
#include "platform/AppPaths.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "platform/MuPdfPageCounter.h"
#include "platform/XattrFileTagStore.h"
#include "providers/GPTEncoder.h"
#include "providers/TokenHelper.h"
#include "store/AppPreferences.h"
#include "support/RatioReporter.h"
#include "support/WordsPdf.h"

namespace {

using namespace folvane;

constexpr int pdfPages = 300;
constexpr int storedChunks = 3000;
constexpr double pagesPerSecondGoal = 30;
constexpr double reopenGoalSeconds = 1;
constexpr double retrievalGoalMilliseconds = 50;

// A data directory of its own with the service, a chat over the 300-page PDF
// and a chat whose one document has 3,000 stored chunks.
struct Fixture {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / "folvane-indexing-bench";
    AppPaths paths;
    AppPreferences preferences;
    MuPdfPageCounter pageCounter;
    std::unique_ptr<AppChatService> service;
    XattrFileTagStore fileTags;
    std::shared_ptr<NativeEmbeddings> native = std::make_shared<NativeEmbeddings>();
    Conversation pdfChat;
    Conversation storedChat;

    Fixture() {
        std::filesystem::remove_all(dir);
        std::filesystem::create_directories(dir);
        paths = AppPaths::standard();
        paths.dataDirectory = (dir / "data").string();
        paths.configDirectory = (dir / "config").string();
        preferences.setDataIngestionStrategy(DataIngestionStrategy::local);
        service = AppChatService::start(paths, preferences, pageCounter);

        std::ofstream(dir / "long.pdf", std::ios::binary)
            << bench::makeWordsPdf(pdfPages, 40, 10, 7);
        pdfChat = service->createConversation({fileUrlFromPath((dir / "long.pdf").string())});
        pdfChat.customModelId = 1;  // no key needed, and no remote index

        std::ofstream(dir / "stored.pdf", std::ios::binary) << bench::makeWordsPdf(1, 40, 10, 7);
        storedChat = service->createConversation({fileUrlFromPath((dir / "stored.pdf").string())});
        storedChat.customModelId = 1;
        std::mt19937 random(11);
        std::vector<IndexItem> items;
        for (int i = 0; i < storedChunks; ++i) {
            const std::string text = bench::madeUpWords(random, 1500);
            items.push_back(IndexItem{std::to_string(i),
                                      text,
                                      *native->encode(text),
                                      {{"bookmarkId", std::to_string(storedChat.bookmarkId)},
                                       {"page", "Optional(" + std::to_string(i / 3 + 1) + ")"}}});
        }
        service->documentStore().replaceIndexItems(storedChat.bookmarkId, items, "native");
    }

    ~Fixture() { std::filesystem::remove_all(dir); }

    std::unique_ptr<ChatIndexer> indexer(const Conversation& chat) {
        return std::make_unique<ChatIndexer>(
            chat, ChatIndexerDependencies{
                      service->documentStore(), preferences, service->embedders(), fileTags, {}});
    }
};

Fixture& fixture() {
    static Fixture shared;
    return shared;
}

void BM_ExtractionBaseline(benchmark::State& state) {
    auto& f = fixture();
    const PdfTextExtractor extractor(OcrSettings{});
    for (auto _ : state) {
        auto pdf = PdfDocument::open(f.dir / "long.pdf");
        benchmark::DoNotOptimize(extractor.extractPages(*pdf, false, false));
    }
    state.counters["pages/s"] = benchmark::Counter(double(pdfPages) * double(state.iterations()),
                                                   benchmark::Counter::kIsRate);
}

void BM_IndexPdf(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) {
        state.PauseTiming();
        f.service->documentStore().replaceIndexItems(f.pdfChat.bookmarkId, {}, "native");
        f.service->documentStore().setIndexingStatus(f.pdfChat.bookmarkId, "none");
        auto indexer = f.indexer(f.pdfChat);
        state.ResumeTiming();
        indexer->loadIndex();
        indexer->wait();
        if (indexer->state().loadingState != LoadingState::loaded) {
            state.SkipWithError("indexing failed");
            break;
        }
    }
    state.counters["pages/s"] = benchmark::Counter(double(pdfPages) * double(state.iterations()),
                                                   benchmark::Counter::kIsRate);
}

void BM_ReadRowsBaseline(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state)
        benchmark::DoNotOptimize(f.service->documentStore().indexItems(f.storedChat.bookmarkId));
}

void BM_ReopenChat(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) {
        auto indexer = f.indexer(f.storedChat);
        indexer->loadIndex();
        indexer->wait();
        if (indexer->indexes().local->sample(storedChunks).size() != size_t(storedChunks)) {
            state.SkipWithError("rows missing");
            break;
        }
    }
}

// Three indexes of 3,000 chunks each, made from the stored rows.
struct Retrieval {
    ChatIndexes indexes;
    std::vector<Bookmark> bookmarks;
    GPTEncoder encoder{AppPaths::standard().resourceDirectory};

    Retrieval() {
        auto& f = fixture();
        const auto rows = f.service->documentStore().indexItems(f.storedChat.bookmarkId);
        std::vector<IndexItem> items;
        for (const auto& row : rows)
            items.push_back({row.id, row.text, row.embedding, row.metadata});
        for (auto* slot : {&indexes.local, &indexes.openai, &indexes.openaiNew}) {
            *slot = std::make_shared<SimilarityIndex>("bench", f.native,
                                                      std::make_shared<CosineSimilarity>());
            (*slot)->setIndexItems(items);
        }
        bookmarks = f.service->documentStore().bookmarks({f.storedChat.bookmarkId});
        encoder.count("warm the merge ranks up");
    }
};

Retrieval& retrieval() {
    static Retrieval shared;
    return shared;
}

const std::string question = "Which payment record names the owner of the harbour ledger?";

void BM_ThreeSearchesBaseline(benchmark::State& state) {
    auto& r = retrieval();
    for (auto _ : state) {
        for (const auto& index : {r.indexes.local, r.indexes.openai, r.indexes.openaiNew}) {
            benchmark::DoNotOptimize(index->search(question, 5));
        }
    }
}

void BM_QuestionRetrieval(benchmark::State& state) {
    auto& r = retrieval();
    const ContextBuilder builder(r.indexes, r.bookmarks, r.encoder, tokenLimit("gpt-4", "OpenAI"),
                                 {});
    for (auto _ : state) {
        benchmark::DoNotOptimize(builder.generateSystemInstructionForQuery(question, "gpt-4", 5));
    }
}

}  // namespace

int main(int argc, char** argv) {
    setLogSink([](std::string_view) {});
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("BM_ExtractionBaseline", BM_ExtractionBaseline)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(2)
        ->UseRealTime();
    benchmark::RegisterBenchmark("BM_IndexPdf", BM_IndexPdf)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(2)
        ->UseRealTime();
    benchmark::RegisterBenchmark("BM_ReadRowsBaseline", BM_ReadRowsBaseline)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("BM_ReopenChat", BM_ReopenChat)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("BM_ThreeSearchesBaseline", BM_ThreeSearchesBaseline)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("BM_QuestionRetrieval", BM_QuestionRetrieval)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const double extraction = reporter.seconds("BM_ExtractionBaseline");
    const double indexing = reporter.seconds("BM_IndexPdf");
    if (indexing > 0) {
        std::printf("\nindexing a %d-page text PDF: %.1f pages per second (goal >= %.0f): %s\n",
                    pdfPages, pdfPages / indexing, pagesPerSecondGoal,
                    pdfPages / indexing >= pagesPerSecondGoal ? "met" : "missed");
        if (extraction > 0) {
            std::printf(
                "  %.1f times the time of the text extraction alone (%.1f pages per "
                "second)\n",
                indexing / extraction, pdfPages / extraction);
        }
    }
    const double reading = reporter.seconds("BM_ReadRowsBaseline");
    const double reopening = reporter.seconds("BM_ReopenChat");
    if (reopening > 0) {
        std::printf("reopening a chat of %d stored chunks: %.3f s (goal < %.0f s): %s\n",
                    storedChunks, reopening, reopenGoalSeconds,
                    reopening < reopenGoalSeconds ? "met" : "missed");
        if (reading > 0) {
            std::printf("  %.2f times the bare read of its rows (%.3f s)\n", reopening / reading,
                        reading);
        }
    }
    const double searches = reporter.seconds("BM_ThreeSearchesBaseline");
    const double asking = reporter.seconds("BM_QuestionRetrieval");
    if (asking > 0) {
        std::printf("a question over three indexes of %d chunks: %.2f ms (goal < %.0f ms): %s\n",
                    storedChunks, asking * 1000, retrievalGoalMilliseconds,
                    asking * 1000 < retrievalGoalMilliseconds ? "met" : "missed");
        if (searches > 0) {
            std::printf("  %.2f times its three plain searches (%.2f ms)\n", asking / searches,
                        searches * 1000);
        }
    }
    benchmark::Shutdown();
    return 0;
}
