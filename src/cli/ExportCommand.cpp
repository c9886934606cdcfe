#include "cli/CliContext.h"

namespace folvane {

int runExportCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The export command is not available yet.");
}

}  // namespace folvane
