#include "cli/CliContext.h"

namespace folvane {

int runIndexCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The index command is not available yet.");
}

}  // namespace folvane
