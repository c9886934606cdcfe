#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/CliContext.h"

namespace folvane {

// Small parsing helpers shared by the subcommands.

// Removes a flag such as "--json" from the arguments; true when it was there.
bool takeFlag(CliArguments& args, const std::string& flag);
// Removes "OPTION VALUE" (the first occurrence) from the arguments and gives
// the value; UsageError when the value is missing.
std::optional<std::string> takeOption(CliArguments& args, const std::string& option);
// A chat or message id; UsageError when the text is not a positive integer.
int64_t parseId(const std::string& text, const std::string& what);
// Fails with UsageError when arguments remain that the command does not take.
void expectNoMoreArguments(const CliArguments& args, size_t used);

}  // namespace folvane
