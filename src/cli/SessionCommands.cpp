#include "cli/CliContext.h"

namespace folvane {

int runAskCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The ask command is not available yet.");
}

int runRegenerateCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The regenerate command is not available yet.");
}

int runContinueCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The continue command is not available yet.");
}

int runEditCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The edit command is not available yet.");
}

int runResetContextCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The reset-context command is not available yet.");
}

int runClearMarkersCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The clear-markers command is not available yet.");
}

int runDeleteMessagesCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The delete-messages command is not available yet.");
}

int runSearchCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The search command is not available yet.");
}

}  // namespace folvane
