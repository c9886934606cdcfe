#pragma once

#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "conversation/AppCore.h"
#include "platform/AppPaths.h"
#include "runtime/BlockingMainQueue.h"

namespace folvane {

class AppPreferences;
class AppChatService;

// Bad arguments on the command line; what() is the message for the user.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What a subcommand works with: its two output streams, the main queue the
// command line runs itself, and the core that makes everything else, each
// shared object on first use (so `settings` never opens the database).
class CliContext {
  public:
    CliContext(AppPaths paths, std::ostream& out, std::ostream& err);
    ~CliContext();

    std::ostream& out() { return out_; }
    std::ostream& err() { return err_; }
    BlockingMainQueue& mainQueue() { return mainQueue_; }
    AppCore& core() { return *core_; }

    const AppPaths& paths() const { return core_->paths(); }
    AppPreferences& preferences() { return core_->preferences(); }
    AppChatService& service() { return core_->service(); }

  private:
    std::ostream& out_;
    std::ostream& err_;
    BlockingMainQueue mainQueue_;
    std::unique_ptr<AppCore> core_;
};

using CliArguments = std::vector<std::string>;

// One function per subcommand, each in its own file. They return the exit
// status and throw UsageError or the core's errors, which main prints.
int runChatsCommand(CliContext& context, const CliArguments& args);
int runOpenCommand(CliContext& context, const CliArguments& args);
int runMessagesCommand(CliContext& context, const CliArguments& args);
int runSettingsCommand(CliContext& context, const CliArguments& args);
int runKeyCommand(CliContext& context, const CliArguments& args);
int runTokensCommand(CliContext& context, const CliArguments& args);
int runPagesCommand(CliContext& context, const CliArguments& args);
int runChunksCommand(CliContext& context, const CliArguments& args);
int runEmbedCommand(CliContext& context, const CliArguments& args);
int runIndexCommand(CliContext& context, const CliArguments& args);
int runAddDocumentsCommand(CliContext& context, const CliArguments& args);
int runRemoveDocumentCommand(CliContext& context, const CliArguments& args);
int runReprocessCommand(CliContext& context, const CliArguments& args);
int runRetrieveCommand(CliContext& context, const CliArguments& args);
int runExportIndexCommand(CliContext& context, const CliArguments& args);
int runModelsCommand(CliContext& context, const CliArguments& args);
int runPromptsCommand(CliContext& context, const CliArguments& args);
int runExportCommand(CliContext& context, const CliArguments& args);
int runForkCommand(CliContext& context, const CliArguments& args);
int runRemoveCommand(CliContext& context, const CliArguments& args);
int runRenameCommand(CliContext& context, const CliArguments& args);
int runAskCommand(CliContext& context, const CliArguments& args);
int runRegenerateCommand(CliContext& context, const CliArguments& args);
int runContinueCommand(CliContext& context, const CliArguments& args);
int runEditCommand(CliContext& context, const CliArguments& args);
int runResetContextCommand(CliContext& context, const CliArguments& args);
int runClearMarkersCommand(CliContext& context, const CliArguments& args);
int runDeleteMessagesCommand(CliContext& context, const CliArguments& args);
int runSearchCommand(CliContext& context, const CliArguments& args);
int runFindCommand(CliContext& context, const CliArguments& args);
int runRenderCommand(CliContext& context, const CliArguments& args);
int runLocateCommand(CliContext& context, const CliArguments& args);
int runModelCommand(CliContext& context, const CliArguments& args);
int runCurrentTabCommand(CliContext& context, const CliArguments& args);
int runTranscribeCommand(CliContext& context, const CliArguments& args);
int runSpeakCommand(CliContext& context, const CliArguments& args);

}  // namespace folvane
