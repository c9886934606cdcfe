#include "cli/CliContext.h"

namespace folvane {

int runForkCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The fork command is not available yet.");
}

int runRemoveCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The remove command is not available yet.");
}

}  // namespace folvane
