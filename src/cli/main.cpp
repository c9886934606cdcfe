// folvane-cli: the command-line front end over the same core as the window.

#include <cstring>
#include <iostream>
#include <map>
#include <string>

#include "cli/CliContext.h"
#include "platform/Log.h"

namespace {

constexpr const char* usage = R"(Usage: folvane-cli [--data-dir DIR] [--verbose] COMMAND [ARGS...]

Commands:
  chats [--json]                  list the chats, newest first
  open FILE.pdf...                open documents in a chat and print its id
  messages CHAT_ID [--json]       print a chat's messages
  settings list                   print every setting with its value
  settings get KEY                print one setting
  settings set KEY VALUE          change one setting
  key set [--no-check]            check the OpenAI API key, read from standard input, with
                                  OpenAI (or the customHost) and store it
  key clear                       remove the stored key
  key status                      tell whether a key is stored, and where
  tokens [FILE | -] [--ids]       count the GPT-2 tokens of a text (--ids: print the ids)
  pages FILE.pdf [--force-ocr] [--json]
                                  print a PDF's text page by page, with OCR where needed
  chunks FILE.pdf [--json] [--splitter NAME] [--size N]
                                  print the chunks a PDF is cut into, with page and tokens
                                  (NAME: custom, recursive-token, token, recursive, character)
  find FILE.pdf WORDS [--json]    print each match of the words: page, label, one rectangle a line
  render FILE.pdf PAGE -o FILE.png [--zoom Z] [--highlight TEXT]
                                  draw a page as the viewer does, the passage highlighted
  locate CHAT_ID MESSAGE_ID [--json]
                                  print where each reference of an answer stands: page, label,
                                  one rectangle for each line of the cited passage
  embed [--model native|distilbert|contextual] TEXT
                                  print the embedding of a text: model, dimension, first values
  index CHAT_ID                   load or build the indexes of a chat's documents
  add-documents CHAT_ID FILE.pdf...
                                  add documents to a chat and index them
  remove-document CHAT_ID BOOKMARK_ID
                                  take a document out of a chat
  reprocess CHAT_ID BOOKMARK_ID [--ocr | --embedder local]
                                  index a document again, with OCR on every page if asked
  retrieve CHAT_ID QUERY [--metric cosine|dotproduct|euclidian] [--top N]
                                  print the chunks nearest to a query, best first
  export-index CHAT_ID [--format csv|json|binary] [-o DIR]
                                  write a chat's indexes to files (default: ~/Documents)
  ask CHAT_ID QUESTION [--quote TEXT | --image FILE]
                                  ask a question and stream the answer
  regenerate CHAT_ID              answer the last question again
  continue CHAT_ID                continue the last answer
  edit CHAT_ID MESSAGE_ID TEXT [--resend]
                                  change a message's text (and send it again)
  reset-context CHAT_ID           start a new context after the last message
  clear-markers CHAT_ID           remove every context marker
  delete-messages CHAT_ID         delete all of a chat's messages
  search CHAT_ID KEYWORD          list the messages that contain a word
  fork CHAT_ID MESSAGE_ID         copy a chat up to a message into a new chat
  remove CHAT_ID                  delete a chat
  rename CHAT_ID TITLE            change a chat's title
  export CHAT_ID --format markdown|html|json [-o FILE]
                                  write a chat to a file
  models list | add PROVIDER [OPTIONS] | check ID [--api-key-stdin] | default ID | remove ID
                                  manage custom models on OpenAI-compatible servers; check
                                  tries a model's key with its provider and saves it
  prompts list | add NAME TEXT | edit ID [OPTIONS] | duplicate ID | remove ID... |
          move ID POSITION | find QUERY
                                  manage the prompt library; find lists what the picker shows
  model download                  fetch the local embedding model's weights from the setting
                                  embeddingModelURL into models/ of the data directory,
                                  checked against embeddingModelSHA256 (stored when empty)
  current-tab [--browser NAME] [--profile DIR] [--open]
                                  print the browser in front, its current tab's URL and
                                  whether it serves a PDF; --open fetches it into the home
                                  folder, makes a chat of it and prints the chat's id
                                  (NAME: firefox, chromium, google-chrome, brave-browser,
                                  microsoft-edge, vivaldi; DIR: a Firefox profile or a
                                  Chromium user-data folder)
  transcribe FILE [--on-device]   print the words spoken in a recording: OpenAI's whisper-1
                                  in the setting sttLanguageCode, or with --on-device
                                  pocketsphinx's US English (16-bit mono 16 kHz WAV), no key
  speak MESSAGE_ID                make a message's speech file (once; later calls reuse it)
                                  with the settings voiceModel and speechVoice, print its path
  help                            show this text

Options:
  --data-dir DIR   keep the database in DIR instead of the user's data directory
  --verbose        write the log to standard error
)";

using Command = int (*)(folvane::CliContext&, const folvane::CliArguments&);

const std::map<std::string, Command> commands{
    {"chats", folvane::runChatsCommand},
    {"open", folvane::runOpenCommand},
    {"messages", folvane::runMessagesCommand},
    {"settings", folvane::runSettingsCommand},
    {"key", folvane::runKeyCommand},
    {"tokens", folvane::runTokensCommand},
    {"pages", folvane::runPagesCommand},
    {"chunks", folvane::runChunksCommand},
    {"find", folvane::runFindCommand},
    {"render", folvane::runRenderCommand},
    {"locate", folvane::runLocateCommand},
    {"embed", folvane::runEmbedCommand},
    {"index", folvane::runIndexCommand},
    {"add-documents", folvane::runAddDocumentsCommand},
    {"remove-document", folvane::runRemoveDocumentCommand},
    {"reprocess", folvane::runReprocessCommand},
    {"retrieve", folvane::runRetrieveCommand},
    {"export-index", folvane::runExportIndexCommand},
    {"models", folvane::runModelsCommand},
    {"model", folvane::runModelCommand},
    {"prompts", folvane::runPromptsCommand},
    {"export", folvane::runExportCommand},
    {"fork", folvane::runForkCommand},
    {"remove", folvane::runRemoveCommand},
    {"rename", folvane::runRenameCommand},
    {"ask", folvane::runAskCommand},
    {"regenerate", folvane::runRegenerateCommand},
    {"continue", folvane::runContinueCommand},
    {"edit", folvane::runEditCommand},
    {"reset-context", folvane::runResetContextCommand},
    {"clear-markers", folvane::runClearMarkersCommand},
    {"delete-messages", folvane::runDeleteMessagesCommand},
    {"search", folvane::runSearchCommand},
    {"current-tab", folvane::runCurrentTabCommand},
    {"transcribe", folvane::runTranscribeCommand},
    {"speak", folvane::runSpeakCommand},
};

}  // namespace

int main(int argc, char** argv) {
    folvane::AppPaths paths = folvane::AppPaths::standard();
    bool verbose = false;
    int index = 1;
    for (; index < argc; ++index) {
        const std::string arg = argv[index];
        if (arg == "--data-dir") {
            if (index + 1 >= argc) {
                std::cerr << "--data-dir needs a directory\n";
                return 2;
            }
            paths.dataDirectory = argv[++index];
        } else if (arg == "--verbose") {
            verbose = true;
        } else if (arg == "help" || arg == "--help" || arg == "-h") {
            std::cout << usage;
            return 0;
        } else {
            break;
        }
    }
    // Standard output carries results; the log goes to standard error when asked for.
    folvane::setLogSink([verbose](std::string_view line) {
        if (verbose) std::cerr << line << '\n';
    });

    if (index >= argc) {
        std::cerr << usage;
        return 2;
    }
    const std::string name = argv[index];
    const auto command = commands.find(name);
    if (command == commands.end()) {
        std::cerr << "Unknown command: " << name << "\nRun 'folvane-cli help' for the commands.\n";
        return 2;
    }
    const folvane::CliArguments args(argv + index + 1, argv + argc);
    folvane::CliContext context(paths, std::cout, std::cerr);
    try {
        return command->second(context, args);
    } catch (const folvane::UsageError& error) {
        std::cerr << error.what() << "\nRun 'folvane-cli help' for the commands.\n";
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
