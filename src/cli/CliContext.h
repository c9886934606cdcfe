#pragma once

#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/AppPaths.h"

namespace folvane {

class AppPreferences;
class AppChatService;
class PdfPageCounter;

// Bad arguments on the command line; what() is the message for the user.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What a subcommand works with: the program's paths, its two output streams and
// the shared objects, each made on first use (so `settings` never opens the
// database).
class CliContext {
  public:
    CliContext(AppPaths paths, std::ostream& out, std::ostream& err);
    ~CliContext();

    const AppPaths& paths() const { return paths_; }
    std::ostream& out() { return out_; }
    std::ostream& err() { return err_; }

    AppPreferences& preferences();
    AppChatService& service();

  private:
    AppPaths paths_;
    std::ostream& out_;
    std::ostream& err_;
    std::unique_ptr<AppPreferences> preferences_;
    std::unique_ptr<PdfPageCounter> pageCounter_;
    std::unique_ptr<AppChatService> service_;
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
int runModelsCommand(CliContext& context, const CliArguments& args);
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

}  // namespace folvane
