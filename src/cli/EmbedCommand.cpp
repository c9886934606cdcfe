// folvane-cli embed [--model native|distilbert|contextual] TEXT

#include <cstdio>
#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>

#include "SimilaritySearchKit/BertEncoder.h"
#include "SimilaritySearchKit/BertTokenizer.h"
#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "SimilaritySearchKit/NativeContextualEmbeddings.h"
#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "chat/AppChatService.h"
#include "cli/CliArguments.h"

namespace folvane {
namespace {

constexpr size_t shownValues = 8;

// The BERT encoder from the data directory's weights, or the reason it can't be.
std::shared_ptr<EmbeddingsProtocol> loadDistilbert(const AppPaths& paths) {
    const std::filesystem::path weights = std::filesystem::path(paths.dataDirectory) / "models" /
                                          DistilbertEmbeddings::weightsFileName;
    try {
        auto tokenizer = std::make_shared<const BertTokenizer>(paths.resourceDirectory);
        return std::make_shared<DistilbertEmbeddings>(weights, std::move(tokenizer), 0);
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("Failed to load the Core ML model. Error: ") +
                                 error.what());
    }
}

// The mean of the same encoder's token vectors, of whatever width the weights
// have; no application flow embeds with it.
std::shared_ptr<EmbeddingsProtocol> loadContextual(const AppPaths& paths) {
    const std::filesystem::path weights = std::filesystem::path(paths.dataDirectory) / "models" /
                                          DistilbertEmbeddings::weightsFileName;
    try {
        return std::make_shared<NativeContextualEmbeddings>(
            std::make_shared<const BertEncoder>(weights),
            std::make_shared<const BertTokenizer>(paths.resourceDirectory));
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("Failed to load the Core ML model. Error: ") +
                                 error.what());
    }
}

}  // namespace

// Prints the vector a text gets: the model's raw name, the dimension and the
// first values. Without --model, the local model the application would use
// (the BERT encoder when its weights load, else the lexical one).
int runEmbedCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const std::optional<std::string> choice = takeOption(args, "--model");
    if (args.empty()) throw UsageError("embed needs a text");
    expectNoMoreArguments(args, 1);
    const std::string& text = args[0];

    std::shared_ptr<EmbeddingsProtocol> model;
    std::string name(rawValue(EmbeddingModelType::native));
    if (!choice) {
        model = context.service().embedders().local();
        name = rawValue(context.service().embedders().localType());
    } else if (*choice == "native") {
        model = std::make_shared<NativeEmbeddings>("en", NativeEmbeddingType::sentenceEmbedding);
    } else if (*choice == "distilbert") {
        model = loadDistilbert(context.paths());
        name = rawValue(EmbeddingModelType::distilbert);
    } else if (*choice == "contextual") {
        model = loadContextual(context.paths());
        name = "contextual";
    } else {
        throw UsageError("Unknown model: " + *choice + " (native, distilbert or contextual)");
    }

    const auto vector = model->encode(text);
    if (!vector) throw std::runtime_error("Failed to encode text. " + text);

    auto& out = context.out();
    out << "model: " << name << '\n' << "dimension: " << vector->size() << '\n';
    out << "values:";
    for (size_t i = 0; i < vector->size() && i < shownValues; ++i) {
        char value[32];
        std::snprintf(value, sizeof value, " %.6f", static_cast<double>((*vector)[i]));
        out << value;
    }
    out << '\n';
    return 0;
}

}  // namespace folvane
