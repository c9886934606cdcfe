// Encoding throughput of GPTEncoder against js-tiktoken's GPT-2 encoding, run
// with node in the same program run on the same text (a few hundred KB of prose
// in several languages, code, numbers and blank runs). Node times its own
// encode loop, so its start-up is left out. Both sides are measured warm (our
// cache filled, node's code compiled) and on a first pass, in MB per second of
// CPU time, which stays steady on a busy machine.
//
// gpt-3-encoder is no baseline here: it concatenates its result array once per
// piece, so its time on one text grows with the square of the text's length.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "platform/AppPaths.h"
#include "providers/GPTEncoder.h"

namespace {

using namespace folvane;

const std::filesystem::path benchDirectory = std::filesystem::path(__FILE__).parent_path();

std::string makeText() {
    const std::vector<std::string> sentences = {
        "The committee reviewed the quarterly report and found the figures consistent. ",
        "It's not what we'd expected, but they've shown the results hold up. ",
        "In 2023 the revenue rose by 14.7% to $3,482,119 while costs fell 2.1%. ",
        "La réunion a eu lieu à Genève ; les délégués ont adopté la résolution. ",
        "Die Größe der Stichprobe beträgt 1.204 Personen aus 16 Bundesländern. ",
        "El análisis muestra que la población creció un 3,5 % en la última década. ",
        "Исследование показало, что результаты устойчивы к изменению параметров. ",
        "研究结果表明，该方法在多个数据集上均优于基线模型。",
        "本研究では、提案手法の有効性を三つの実験で検証した。",
        "Σύμφωνα με τα στοιχεία, η ανάπτυξη ήταν σταθερή. ",
        "Results 😀 were 👍 and the team 🚀 celebrated. ",
        "    for (size_t i = 0; i < items.size(); ++i) { total += items[i].price; }\n",
        "def tokenize(text):\n    return [t for t in text.split() if t]\n\n",
        "Table 3:   mean   median   p95\n          12.4     11.9   18.2\n",
        "See https://example.org/reports/2023/q4?id=77&lang=en for details.\n\n",
        "Pneumonoultramicroscopicsilicovolcanoconiosis is a long word; so is "
        "antidisestablishmentarianism. ",
    };
    std::mt19937 random(2024);
    std::uniform_int_distribution<size_t> pick(0, sentences.size() - 1);
    std::uniform_int_distribution<int> number(0, 99999);
    std::string text;
    while (text.size() < 400 * 1024) {
        text += sentences[pick(random)];
        if (pick(random) % 4 == 0) text += "Ref. " + std::to_string(number(random)) + ". ";
        if (pick(random) % 8 == 0) text += "\n\n";
    }
    return text;
}

const std::string& text() {
    static const std::string value = makeText();
    return value;
}

std::filesystem::path resourceDirectory() {
    return AppPaths::standard().resourceDirectory;
}

void BM_GPTEncoderWarm(benchmark::State& state) {
    static const GPTEncoder encoder{resourceDirectory()};
    encoder.encode(text());
    for (auto _ : state) benchmark::DoNotOptimize(encoder.encode(text()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
}
BENCHMARK(BM_GPTEncoderWarm)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// A fresh encoder each time, with its ranks built but its cache empty.
void BM_GPTEncoderFirstPass(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto encoder = std::make_unique<GPTEncoder>(resourceDirectory());
        encoder->bpeMerges();
        state.ResumeTiming();
        benchmark::DoNotOptimize(encoder->encode(text()));
        state.PauseTiming();
        encoder.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text().size()));
}
BENCHMARK(BM_GPTEncoderFirstPass)->Unit(benchmark::kMillisecond)->Iterations(5);

class ThroughputReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            const auto bytes = run.counters.find("bytes_per_second");
            if (bytes != run.counters.end()) {
                megabytesPerSecond[run.run_name.function_name] = bytes->second.value / 1e6;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> megabytesPerSecond;
};

nlohmann::json runNode(const std::filesystem::path& file) {
    const std::string command =
        "node '" + (benchDirectory / "gpt2-baseline.mjs").string() + "' '" + file.string() + "' 2";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return nullptr;
    std::string output;
    char buffer[4096];
    while (size_t read = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, read);
    if (::pclose(pipe) != 0) return nullptr;
    return nlohmann::json::parse(output, nullptr, false);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    ThroughputReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const auto file = std::filesystem::temp_directory_path() / "folvane-gpt2-bench.txt";
    std::ofstream(file, std::ios::binary) << text();
    const GPTEncoder encoder{resourceDirectory()};
    const size_t ourTokens = encoder.count(text());

    const auto warm = reporter.megabytesPerSecond.find("BM_GPTEncoderWarm");
    const auto first = reporter.megabytesPerSecond.find("BM_GPTEncoderFirstPass");
    std::printf("\n%zu bytes of text, %zu tokens\n", text().size(), ourTokens);
    const auto baseline = runNode(file);
    if (!baseline.is_object()) {
        std::printf("js-tiktoken: node did not run\n");
    } else {
        const double theirWarm = baseline["warmMBps"].get<double>();
        const double theirFirst = baseline["firstPassMBps"].get<double>();
        std::printf("js-tiktoken: warm %.2f MB/s (wall %.2f), first pass %.2f MB/s, ids %s\n",
                    theirWarm, baseline["warmWallMBps"].get<double>(), theirFirst,
                    baseline["tokens"].get<size_t>() == ourTokens ? "equal" : "DIFFER");
        if (warm != reporter.megabytesPerSecond.end()) {
            std::printf("GPTEncoder warm:       %.2f MB/s, %.2fx js-tiktoken\n", warm->second,
                        warm->second / theirWarm);
        }
        if (first != reporter.megabytesPerSecond.end()) {
            std::printf("GPTEncoder first pass: %.2f MB/s, %.2fx js-tiktoken\n", first->second,
                        first->second / theirFirst);
        }
    }
    std::filesystem::remove(file);
    benchmark::Shutdown();
    return 0;
}
