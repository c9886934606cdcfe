#include "cli/CliContext.h"

namespace folvane {

int runPagesCommand(CliContext&, const CliArguments&) {
    throw UsageError("pages is not available yet");
}

}  // namespace folvane
