#include "cli/CliContext.h"

namespace folvane {

int runChunksCommand(CliContext&, const CliArguments&) {
    throw UsageError("chunks is not available yet");
}

}  // namespace folvane
