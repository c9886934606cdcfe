#include "cli/CliContext.h"

namespace folvane {

int runEmbedCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The embed command is not available yet.");
}

}  // namespace folvane
