// folvane-cli tokens [FILE | -] [--ids]

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>

#include "cli/CliArguments.h"
#include "cli/CliContext.h"
#include "providers/GPTEncoder.h"

namespace folvane {
namespace {

std::string readInput(const std::string& source) {
    if (source == "-") {
        std::ostringstream buffer;
        buffer << std::cin.rdbuf();
        return buffer.str();
    }
    std::error_code error;
    if (!std::filesystem::exists(source, error)) throw UsageError("No such file: " + source);
    if (std::filesystem::is_directory(source, error)) {
        throw UsageError("Is a directory, not a file: " + source);
    }
    std::ifstream in(source, std::ios::binary);
    if (!in) throw std::runtime_error("Cannot read the file: " + source);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw std::runtime_error("Cannot read the file: " + source);
    return text;
}

}  // namespace

int runTokensCommand(CliContext& context, const CliArguments& arguments) {
    CliArguments args = arguments;
    const bool printIds = takeFlag(args, "--ids");
    for (const auto& arg : args) {
        if (arg.size() > 1 && arg[0] == '-') throw UsageError("Unknown option: " + arg);
    }
    expectNoMoreArguments(args, 1);
    const std::string source = args.empty() ? "-" : args[0];

    const std::filesystem::path resources = context.paths().resourceDirectory;
    for (const char* name : {"vocab.bpe", "encoder.json"}) {
        if (!std::filesystem::is_regular_file(resources / name)) {
            throw std::runtime_error("The GPT-2 vocabulary file " + (resources / name).string() +
                                     " is missing");
        }
    }
    const GPTEncoder encoder(resources);
    const std::string text = readInput(source);
    if (!printIds) {
        context.out() << encoder.count(text) << '\n';
        return 0;
    }
    const auto ids = encoder.encode(text);
    std::string line;
    for (size_t i = 0; i < ids.size(); ++i) {
        if (i > 0) line += ' ';
        line += std::to_string(ids[i]);
    }
    context.out() << line << '\n';
    return 0;
}

}  // namespace folvane
