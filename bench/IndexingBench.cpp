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
#include "store/AppPreferences.h"

namespace {

using namespace folvane;

constexpr int pdfPages = 300;
constexpr int storedChunks = 3000;
constexpr double pagesPerSecondGoal = 30;
constexpr double reopenGoalSeconds = 1;
constexpr double retrievalGoalMilliseconds = 50;

const char* const words[] = {"ledger",  "block",  "signature", "network", "proof",  "work",
                             "chain",   "node",   "coin",      "owner",   "time",   "stamp",
                             "server",  "hash",   "the",       "of",      "and",    "a",
                             "payment", "record", "harbour",   "tide",    "market", "river"};

std::string sentence(std::mt19937& random, size_t length) {
    std::uniform_int_distribution<size_t> pick(0, std::size(words) - 1);
    std::string text;
    while (text.size() < length) text += std::string(words[pick(random)]) + " ";
    return text;
}

std::string pdfString(const std::string& text) {
    std::string out = "(";
    for (char c : text) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += c;
    }
    return out + ")";
}

// Pages of 40 lines of made-up words in Helvetica: about one chunk a page.
std::string makeTextPdf(int pages) {
    std::mt19937 random(7);
    std::vector<std::string> objects(3);
    std::string kids;
    for (int page = 0; page < pages; ++page) {
        std::string content = "BT /F1 10 Tf 15 TL 54 740 Td";
        for (int line = 0; line < 40; ++line) {
            content += " " + pdfString(sentence(random, 80)) + " Tj T*";
        }
        content += " ET";
        const size_t number = objects.size() + 1;
        objects.push_back(
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << "
            "/Font << /F1 3 0 R >> >> /Contents " +
            std::to_string(number + 1) + " 0 R >>");
        objects.push_back("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" +
                          content + "\nendstream");
        kids += std::to_string(number) + " 0 R ";
    }
    objects[0] = "<< /Type /Catalog /Pages 2 0 R >>";
    objects[1] = "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages) + " >>";
    objects[2] = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>";
    std::string out = "%PDF-1.4\n";
    std::vector<size_t> offsets;
    for (size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(out.size());
        out += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const size_t xref = out.size();
    out += "xref\n0 " + std::to_string(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (size_t offset : offsets) {
        char entry[21];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", offset);
        out += entry;
    }
    out += "trailer\n<< /Size " + std::to_string(objects.size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
    return out;
}

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

        std::ofstream(dir / "long.pdf", std::ios::binary) << makeTextPdf(pdfPages);
        pdfChat = service->createConversation({fileUrlFromPath((dir / "long.pdf").string())});
        pdfChat.customModelId = 1;  // no key needed, and no remote index

        std::ofstream(dir / "stored.pdf", std::ios::binary) << makeTextPdf(1);
        storedChat = service->createConversation({fileUrlFromPath((dir / "stored.pdf").string())});
        storedChat.customModelId = 1;
        std::mt19937 random(11);
        std::vector<IndexItem> items;
        for (int i = 0; i < storedChunks; ++i) {
            const std::string text = sentence(random, 1500);
            items.push_back(IndexItem{std::to_string(i),
                                      text,
                                      *native->encode(text),
                                      {{"bookmarkId", std::to_string(storedChat.bookmarkId)},
                                       {"page", "Optional(" + std::to_string(i / 3 + 1) + ")"}}});
        }
        service->saveIndexItems(items, "native", storedChat.bookmarkId);
    }

    ~Fixture() { std::filesystem::remove_all(dir); }

    std::unique_ptr<ChatIndexer> indexer(const Conversation& chat) {
        EmbedderSource embedders{[this] { return native; }, {}};
        return std::make_unique<ChatIndexer>(
            chat, ChatIndexerDependencies{
                      *service, preferences, embedders, fileTags, paths.resourceDirectory, {}});
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
        f.service->deleteIndexItems(f.pdfChat.bookmarkId);
        f.service->updateIndexingStatus(f.pdfChat.bookmarkId, "none");
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
        benchmark::DoNotOptimize(f.service->getIndexItems(f.storedChat.bookmarkId));
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
        const auto rows = f.service->getIndexItems(f.storedChat.bookmarkId);
        std::vector<IndexItem> items;
        for (const auto& row : rows)
            items.push_back({row.id, row.text, row.embedding, row.metadata});
        for (auto* slot : {&indexes.local, &indexes.openai, &indexes.openaiNew}) {
            *slot = std::make_shared<SimilarityIndex>("bench", f.native,
                                                      std::make_shared<CosineSimilarity>());
            (*slot)->setIndexItems(items);
        }
        bookmarks = f.service->getBookmarks({f.storedChat.bookmarkId});
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
    const ContextBuilder builder(r.indexes, r.bookmarks, r.encoder, "OpenAI", {});
    for (auto _ : state) {
        benchmark::DoNotOptimize(builder.generateSystemInstructionForQuery(question, "gpt-4", 5));
    }
}

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            seconds[run.run_name.function_name] =
                run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
        ConsoleReporter::ReportRuns(runs);
    }
    double time(const std::string& name) const {
        const auto found = seconds.find(name);
        return found == seconds.end() ? 0.0 : found->second;
    }
    std::map<std::string, double> seconds;
};

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
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const double extraction = reporter.time("BM_ExtractionBaseline");
    const double indexing = reporter.time("BM_IndexPdf");
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
    const double reading = reporter.time("BM_ReadRowsBaseline");
    const double reopening = reporter.time("BM_ReopenChat");
    if (reopening > 0) {
        std::printf("reopening a chat of %d stored chunks: %.3f s (goal < %.0f s): %s\n",
                    storedChunks, reopening, reopenGoalSeconds,
                    reopening < reopenGoalSeconds ? "met" : "missed");
        if (reading > 0) {
            std::printf("  %.2f times the bare read of its rows (%.3f s)\n", reopening / reading,
                        reading);
        }
    }
    const double searches = reporter.time("BM_ThreeSearchesBaseline");
    const double asking = reporter.time("BM_QuestionRetrieval");
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
