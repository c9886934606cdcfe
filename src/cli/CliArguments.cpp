#include "cli/CliArguments.h"

#include <algorithm>
#include <charconv>

namespace folvane {

bool takeFlag(CliArguments& args, const std::string& flag) {
    const auto found = std::find(args.begin(), args.end(), flag);
    if (found == args.end()) return false;
    args.erase(found);
    return true;
}

std::optional<std::string> takeOption(CliArguments& args, const std::string& option) {
    const auto found = std::find(args.begin(), args.end(), option);
    if (found == args.end()) return std::nullopt;
    if (found + 1 == args.end()) throw UsageError(option + " needs a value");
    std::string value = *(found + 1);
    args.erase(found, found + 2);
    return value;
}

int64_t parseId(const std::string& text, const std::string& what) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value <= 0) {
        throw UsageError("Invalid " + what + ": " + text);
    }
    return value;
}

void expectNoMoreArguments(const CliArguments& args, size_t used) {
    if (args.size() > used) throw UsageError("Unexpected argument: " + args[used]);
}

}  // namespace folvane
