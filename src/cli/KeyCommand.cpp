// folvane-cli key set | clear | status
//
// The key is read from standard input, never from the command line, where it
// would be seen by other processes and kept in the shell's history.

#include <iostream>
#include <string>

#include "cli/CliContext.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

constexpr const char* keyUsage = "Usage: folvane-cli key set | clear | status";

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return "";
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

int setKey(CliContext& context) {
    auto& preferences = context.preferences();
    if (!preferences.isSecretStoreAvailable()) {
        context.err() << "No Secret Service is reachable, so the key cannot be kept: it would "
                         "be lost when this command ends. Start a Secret Service (for example "
                         "gnome-keyring) and try again.\n";
        return 1;
    }
    std::string line;
    std::getline(std::cin, line);
    const std::string key = trimmed(line);
    if (key.empty()) {
        context.err() << "No key given: write the key on standard input, for example\n"
                         "  folvane-cli key set < file-with-the-key\n";
        return 1;
    }
    preferences.setOpenAIKey(key);
    if (!preferences.waitForSecretWrites()) {
        context.err() << "The Secret Service did not store the key.\n";
        return 1;
    }
    context.out() << "Key stored in " << preferences.secretStoreLocation() << ".\n";
    return 0;
}

int clearKey(CliContext& context) {
    auto& preferences = context.preferences();
    preferences.setOpenAIKey("");
    if (!preferences.waitForSecretWrites()) {
        context.err() << "The Secret Service did not remove the key.\n";
        return 1;
    }
    if (!preferences.isSecretStoreAvailable()) {
        context.out() << "No Secret Service is reachable; no key is kept.\n";
        return 0;
    }
    context.out() << "Key removed from " << preferences.secretStoreLocation() << ".\n";
    return 0;
}

int keyStatus(CliContext& context) {
    auto& preferences = context.preferences();
    context.out() << "OpenAI API key: " << (preferences.openAIKey().empty() ? "not set" : "set")
                  << '\n'
                  << "Kept in: " << preferences.secretStoreLocation() << '\n';
    return 0;
}

}  // namespace

int runKeyCommand(CliContext& context, const CliArguments& args) {
    if (args.empty()) throw UsageError(keyUsage);
    const std::string& action = args[0];
    if (action == "set") {
        if (args.size() != 1) {
            throw UsageError(
                "key set takes no argument: it reads the key from standard input, so that the "
                "key stays out of the shell's history");
        }
        return setKey(context);
    }
    if (args.size() != 1) throw UsageError(keyUsage);
    if (action == "clear") return clearKey(context);
    if (action == "status") return keyStatus(context);
    throw UsageError("Unknown key action: " + action + "\n" + keyUsage);
}

}  // namespace folvane
