#include "cli/CliContext.h"

namespace folvane {

int runTokensCommand(CliContext&, const CliArguments&) {
    throw UsageError("tokens is not available yet");
}

}  // namespace folvane
