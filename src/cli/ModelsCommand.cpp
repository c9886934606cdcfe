#include "cli/CliContext.h"

namespace folvane {

int runModelsCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The models command is not available yet.");
}

}  // namespace folvane
