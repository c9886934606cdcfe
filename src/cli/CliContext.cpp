#include "cli/CliContext.h"

namespace folvane {

CliContext::CliContext(AppPaths paths, std::ostream& out, std::ostream& err)
    : out_(out), err_(err), core_(std::make_unique<AppCore>(std::move(paths), mainQueue_)) {}

CliContext::~CliContext() {
    // What the view models posted runs before the core they belong to goes.
    mainQueue_.drain();
    core_.reset();
}

}  // namespace folvane
