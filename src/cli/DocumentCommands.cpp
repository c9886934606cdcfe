#include "cli/CliContext.h"

namespace folvane {

int runAddDocumentsCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The add-documents command is not available yet.");
}

int runRemoveDocumentCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The remove-document command is not available yet.");
}

int runReprocessCommand(CliContext&, const CliArguments&) {
    throw std::runtime_error("The reprocess command is not available yet.");
}

}  // namespace folvane
