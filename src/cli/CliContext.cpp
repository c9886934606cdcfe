#include "cli/CliContext.h"

#include "chat/AppChatService.h"
#include "conversation/FirstStartStep.h"
#include "platform/Log.h"
#include "platform/MuPdfPageCounter.h"
#include "store/AppPreferences.h"
#include "store/SettingsError.h"

namespace folvane {

CliContext::CliContext(AppPaths paths, std::ostream& out, std::ostream& err)
    : paths_(std::move(paths)), out_(out), err_(err) {}

CliContext::~CliContext() = default;

AppPreferences& CliContext::preferences() {
    if (!preferences_) {
        preferences_ = AppPreferences::open(paths_.configDirectory);
        try {
            FirstStartStep::run(*preferences_);
        } catch (const SettingsError& error) {
            // Settings that cannot be written keep their defaults for this
            // run; the step runs again at the next start.
            log(error.what());
        }
    }
    return *preferences_;
}

AppChatService& CliContext::service() {
    if (!service_) {
        pageCounter_ = std::make_unique<MuPdfPageCounter>();
        service_ = AppChatService::start(paths_, preferences(), *pageCounter_);
    }
    return *service_;
}

}  // namespace folvane
