#pragma once

#include <cstdint>
#include <string>

#include "cli/CliContext.h"

namespace folvane {

// Small parsing helpers shared by the subcommands.

// Removes a flag such as "--json" from the arguments; true when it was there.
bool takeFlag(CliArguments& args, const std::string& flag);
// A chat or message id; UsageError when the text is not a positive integer.
int64_t parseId(const std::string& text, const std::string& what);
// Fails with UsageError when arguments remain that the command does not take.
void expectNoMoreArguments(const CliArguments& args, size_t used);

}  // namespace folvane
